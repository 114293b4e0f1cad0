#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/Budget.h"
#include "base/TableBlock.h"

namespace karta {

/**
 * What the columns of a table in the making share: the budget, and the bytes of their texts, in large blocks
 * that stay where they are.
 */
class CellStore {
public:
    /** The budget stays its owner's; null: nothing is counted. */
    explicit CellStore(Budget* readBudget) : budget(readBudget) {}

    /** Before the memory is taken. Raises BudgetExceeded. */
    void Charge(std::uint64_t bytes) {
        if (budget != nullptr) {
            budget->ChargeMemory(bytes, "The table");
        }
    }
    std::uint64_t GetLimit() const {
        return budget != nullptr ? budget->GetMemoryLimit() : Budget::Unlimited;
    }

    /** Keeps a text; the word stands for it. */
    std::uint64_t AddText(std::string_view text);
    static std::string_view GetText(std::uint64_t word) {
        const char* const entry = reinterpret_cast<const char*>(word);
        if (entry == nullptr) {
            return {};
        }
        std::uint32_t length = 0;
        __builtin_memcpy(&length, entry, sizeof length);
        return {entry + sizeof length, length};
    }

    /** How many rows the reader has announced; a hint for the room to take. */
    int expectedRows = 0;

private:
    char* Take(std::size_t size);

    Budget* budget;
    std::vector<TableBlock<char>> blocks;
    char* next = nullptr;
    std::size_t remaining = 0;
    std::size_t nextBlockSize = 4096;
};

}  // namespace karta
