#include "container/MatElementStream.h"

// The bytes to inflate are the file's own and are not written to.
#define ZLIB_CONST
#include <zlib.h>

#include <algorithm>

#include "archive/FastInflate.h"

namespace {
constexpr std::size_t ChunkSize = 65536;
}  // namespace

MatElementStream::~MatElementStream() = default;

std::size_t MatElementStream::Read(std::uint8_t* target, std::size_t size) {
    const std::size_t before = aheadCount == 0 ? 0 : TakeAhead(target, size);
    const std::size_t count = before + (before < size ? Fill(target + before, size - before) : 0);
    position += count;
    return count;
}

std::size_t MatElementStream::Peek(std::uint8_t* target, std::size_t size) {
    if (aheadCount < size) {
        aheadCount += Fill(ahead.data() + aheadCount, size - aheadCount);
    }
    const std::size_t count = std::min(size, aheadCount);
    std::copy_n(ahead.begin(), count, target);
    return count;
}

std::size_t MatElementStream::TakeAhead(std::uint8_t* target, std::size_t size) {
    const std::size_t count = std::min(size, aheadCount);
    std::copy_n(ahead.begin(), count, target);
    std::copy(ahead.begin() + static_cast<std::ptrdiff_t>(count),
              ahead.begin() + static_cast<std::ptrdiff_t>(aheadCount), ahead.begin());
    aheadCount -= count;
    return count;
}

std::span<const std::uint8_t> MatElementStream::Take(std::size_t size, std::size_t alignment) {
    const std::span<const std::uint8_t> rest = GetRest();
    const bool isAligned = reinterpret_cast<std::uintptr_t>(rest.data()) % alignment == 0;
    if (aheadCount > 0 || size > rest.size() || !isAligned) {
        return {};
    }
    position += Drop(size);
    return rest.first(size);
}

bool MatElementStream::ReadAll(std::vector<std::uint8_t>& bytes, std::uint64_t size) {
    bytes.clear();
    while (bytes.size() < size) {
        const std::size_t filled = bytes.size();
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size - filled, ChunkSize));
        bytes.resize(filled + wanted);
        const std::size_t count = Read(bytes.data() + filled, wanted);
        bytes.resize(filled + count);
        if (count < wanted) {
            return false;
        }
    }
    return true;
}

void MatElementStream::Align(std::uint64_t multiple) {
    std::uint8_t padding[8];
    const std::uint64_t odd = position % multiple;
    if (odd != 0) {
        Read(padding, static_cast<std::size_t>(multiple - odd));
    }
}

bool MatElementStream::Skip(std::uint64_t size) {
    std::uint8_t dropped[sizeof ahead];
    const std::uint64_t before =
        TakeAhead(dropped, static_cast<std::size_t>(std::min<std::uint64_t>(size, sizeof dropped)));
    const std::uint64_t count = before + (before < size ? Drop(size - before) : 0);
    position += count;
    return count == size;
}

void MatElementStream::Rewind() {
    position = start;
    aheadCount = 0;
    Restart();
}

std::size_t MatPlainStream::Fill(std::uint8_t* target, std::size_t size) {
    const std::size_t count = std::min(size, rest.size());
    std::copy_n(rest.begin(), count, target);
    rest = rest.subspan(count);
    return count;
}

std::uint64_t MatPlainStream::Drop(std::uint64_t size) {
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, rest.size()));
    rest = rest.subspan(count);
    return count;
}

MatInflatingStream::MatInflatingStream(std::span<const std::uint8_t> payload, std::uint64_t bound,
                                       karta::Budget& readBudget)
    : MatElementStream(0),
      all(payload),
      limit(bound),
      budget(readBudget),
      left(bound),
      inflater(std::make_unique<z_stream_s>()) {
    failed = inflateInit(inflater.get()) != Z_OK;
    MatInflatingStream::Restart();
}

MatInflatingStream::~MatInflatingStream() {
    inflateEnd(inflater.get());
}

void MatInflatingStream::Restart() {
    failed = inflateReset(inflater.get()) != Z_OK;
    finished = false;
    left = limit;
    inflater->next_in = all.data();
    // An element's size has 32 bits.
    inflater->avail_in = static_cast<uInt>(all.size());
    fast = FastInflate::IsThere() ? std::make_unique<FastInflate>(all) : nullptr;
}

std::size_t MatInflatingStream::Fill(std::uint8_t* target, std::size_t size) {
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>({size, left, std::uint64_t{1} << 30}));
    budget.ChargeWork(wanted, "inflating an array");
    std::size_t count = 0;
    if (fast != nullptr) {
        count = InflateFast(target, wanted);
        left -= count;
    }
    if (fast == nullptr && count < wanted) {
        const std::size_t more = Inflate(target + count, wanted - count);
        left -= more;
        count += more;
    }
    return count;
}

std::size_t MatInflatingStream::InflateFast(std::uint8_t* target, std::size_t size) {
    std::size_t count = 0;
    while (count < size && !fast->IsAtEnd()) {
        const std::size_t read = fast->Read({reinterpret_cast<char*>(target) + count, size - count});
        if (fast->HasGivenUp()) {
            fast.reset();
            left -= count;
            CatchUp();
            left += count;
            return count;
        }
        count += read;
    }
    finished = fast->IsAtEnd();
    return count;
}

// What was handed out already is passed over.
void MatInflatingStream::CatchUp() {
    std::vector<std::uint8_t> dropped(ChunkSize);
    for (std::uint64_t passed = limit - left; passed > 0 && !failed && !finished;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(passed, dropped.size()));
        budget.ChargeWork(wanted, "inflating an array");
        passed -= Inflate(dropped.data(), wanted);
    }
}

std::size_t MatInflatingStream::Inflate(std::uint8_t* target, std::size_t size) {
    inflater->next_out = target;
    inflater->avail_out = static_cast<uInt>(size);
    while (inflater->avail_out > 0 && !failed && !finished) {
        const int result = inflate(inflater.get(), Z_NO_FLUSH);
        finished = result == Z_STREAM_END;
        // Also when the payload is used up before its end.
        failed = result != Z_OK && !finished;
    }
    return size - inflater->avail_out;
}

std::uint64_t MatInflatingStream::Drop(std::uint64_t size) {
    std::vector<std::uint8_t> dropped(static_cast<std::size_t>(std::min<std::uint64_t>(size, ChunkSize)));
    std::uint64_t count = 0;
    while (count < size) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size - count, dropped.size()));
        const std::size_t filled = Fill(dropped.data(), wanted);
        count += filled;
        if (filled < wanted) {
            break;
        }
    }
    return count;
}

bool MatInflatingStream::IsSoundToTheEnd() {
    std::vector<std::uint8_t> dropped(ChunkSize);
    while (!failed && !finished && left > 0) {
        Fill(dropped.data(), dropped.size());
    }
    // What lies behind the bound isn't looked at.
    return !failed;
}
