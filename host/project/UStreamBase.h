#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "base/ByteCursor.h"
#include "base/MemoryShare.h"
#include "base/ReadContext.h"

/** One stream of a project, read from front to back. Numbers are little-endian. */
class UStreamBase {
public:
    virtual ~UStreamBase() = default;

    /** For whom it is read: a stop of the read ends it, and what is kept of it is charged. */
    void SetContext(std::shared_ptr<karta::ReadContext> readContext) {
        context = std::move(readContext);
        kept = std::make_shared<MemoryShare>(context, "The project's datasets");
    }
    /** So many bytes more are about to be kept of it. Raises karta::BudgetExceeded and karta::Stopped. */
    void Keep(std::uint64_t bytes) {
        Pass(bytes);
        if (context != nullptr) {
            kept->Add(bytes);
        }
    }
    /** So many bytes more are about to be handed on. */
    void Pass(std::uint64_t bytes) {
        if (context != nullptr) {
            context->ThrowIfStopped();
            context->budget.ChargeWork(StepsOfByte * bytes, "the project's datasets");
        }
    }
    /** The charge for what was kept, which ends with its last holder; null without a context. */
    const std::shared_ptr<MemoryShare>& GetKept() const { return kept; }

    /** The next `size` bytes; false when fewer are left, and from then on. */
    virtual bool Read(void* buffer, std::size_t size) = 0;
    /** At most this many bytes are left: what bounds every count that the stream tells. */
    virtual std::uint64_t GetRemaining() const = 0;

    /** The next number; 0 when it isn't there, and then HasFailed. */
    template <class Number>
    Number ReadNumber() {
        std::uint8_t raw[sizeof(Number)];
        failed = failed || !Read(raw, sizeof raw);
        return failed ? Number{} : ByteCursor(raw).Read<Number>();
    }
    /** A text: its length as 32 bits, then its bytes. */
    std::string ReadText() {
        const auto length = ReadNumber<std::uint32_t>();
        std::string text;
        if (failed || length > GetRemaining()) {
            failed = true;
            return text;
        }
        Keep(length);
        text.resize(length);
        failed = !Read(text.data(), length);
        return text;
    }
    /** Whether something read wasn't there; stays so. */
    bool HasFailed() const { return failed; }

protected:
    // Four bytes, a value, become a cell: several entries may stand for one stream.
    static constexpr std::uint64_t StepsOfByte = 8;

    bool failed = false;

private:
    std::shared_ptr<karta::ReadContext> context;
    std::shared_ptr<MemoryShare> kept;
};
