#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "base/Budget.h"
#include "base/ReadContext.h"
#include "base/TableBlock.h"
#include "frame/RunCopying.h"
#include "karta/internal/BufferRoom.h"
#include "karta/internal/RecentTexts.h"

namespace karta {

/**
 * What the columns of a table in the making share: the budget, and the bytes of their texts, in large blocks
 * that stay where they are.
 */
class CellStore {
public:
    /** The context stays its owner's. */
    explicit CellStore(ReadContext& readContext) : context(readContext) {}
    CellStore(const CellStore&) = delete;
    CellStore& operator=(const CellStore&) = delete;
    ~CellStore() { context.budget.ReleaseMemory(charged); }

    /** Before the memory is taken, for as long as the store is there; any thread may. Raises BudgetExceeded
     * and Stopped. */
    void Charge(std::uint64_t bytes) {
        context.budget.ChargeMemory(bytes, "The table");
        charged += bytes;
    }
    std::uint64_t GetCharged() const { return charged; }
    std::uint64_t GetLimit() const { return context.budget.GetMemoryLimit(); }
    /** So many bytes may be taken for cells that were announced and haven't come: a part of what a read may
     * take. */
    std::uint64_t GetLimitOfAnnounced() const { return GetLimit() / PartForAnnounced; }

    /** Raises Stopped; any thread may look. */
    void LookForStop() const { context.ThrowIfStopped(); }

    /** Does `step(from, to)` for all places from `first` to before `end`; a stop is heard on the way. */
    template <class Step>
    void InSteps(int first, int end, Step step) const {
        while (first < end) {
            context.ThrowIfStopped();
            const int to = end - first > PlacesBetweenLooks ? first + PlacesBetweenLooks : end;
            step(first, to);
            first = to;
        }
    }

    /**
     * Keeps a text; the word stands for it. All empty texts have the same one, and as a rule have texts that
     * come from the same place again and again, as those of a list do that many cells refer to.
     */
    std::uint64_t AddText(std::string_view text);
    /** The word of a text that was kept already, where that is seen quickly; else 0. */
    std::uint64_t FindText(std::string_view text);
    /** Keeps a text that FindText didn't find. */
    std::uint64_t AddNewText(std::string_view text);
    /** Room for so many bytes that are no text. */
    char* AddBytes(std::size_t size) { return Take(size); }
    /** Room for the buffers of columns that come whole. */
    BufferRoom& GetBufferRoom() { return bufferRoom; }
    /** Tells without a look at the text. */
    static bool IsEmptyText(std::uint64_t word) { return word == 0 || word == GetEmptyWord(); }
    static std::string_view GetText(std::uint64_t word) {
        const char* const entry = reinterpret_cast<const char*>(word);
        if (entry == nullptr) {
            return {};
        }
        std::uint32_t length = 0;
        __builtin_memcpy(&length, entry, sizeof length);
        return {entry + sizeof length, length};
    }

    /** Values of a run to their place in a column, now or later. */
    void Copy(void* to, const void* from, std::size_t bytes) {
        if (bytes < LeastToLeave || copying == nullptr) {
            std::memcpy(to, from, bytes);
        } else {
            copying->GetCopies().Add(to, from, bytes);
        }
    }
    /** Ends of texts, `further` behind where they are in the run. */
    void CopyEnds(std::int64_t* to, std::span<const std::uint32_t> ends, std::int64_t further) {
        if (ends.size_bytes() < LeastToLeave || copying == nullptr) {
            RunCopies::PutSums(to, ends.data(), ends.size(), further);
        } else {
            copying->GetCopies().AddSums(to, ends, further);
        }
    }
    /** Before anything is moved or looked at that values may still be copied to. */
    void FinishCopies() const {
        if (copying != nullptr) {
            copying->FinishCopies();
        }
    }

    /** Who copies later; null: nobody. */
    RunCopying* copying = nullptr;
    /** How many rows the reader has announced; a hint for the room to take. */
    int expectedRows = 0;
    /** Whether a read may take the room for all the cells that were announced. */
    bool mayTakeAll = false;

private:
    // Less than this is copied at once.
    static constexpr std::size_t LeastToLeave = 1024;
    static constexpr int PlacesBetweenLooks = 1 << 16;
    static constexpr std::uint64_t PartForAnnounced = 4;
    static const std::uint32_t EmptyText;

    static std::uint64_t GetEmptyWord() { return reinterpret_cast<std::uintptr_t>(&EmptyText); }
    void WidenRecents();
    std::uint64_t Keep(std::string_view text);

    char* Take(std::size_t size);

    ReadContext& context;
    RecentTexts recents;  // the words of texts that came from an address
    std::atomic<std::uint64_t> charged = 0;
    BufferRoom bufferRoom;
    std::vector<TableBlock<char>> blocks;
    char* next = nullptr;
    std::size_t remaining = 0;
    std::size_t nextBlockSize = 4096;
};

}  // namespace karta
