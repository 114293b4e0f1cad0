#include "instrument/NsasHeader.h"

#include <algorithm>
#include <iterator>

#include "base/ByteCursor.h"
#include "host/NvString.h"

namespace {

constexpr std::size_t ThirdDateOffset = 64;
constexpr std::size_t SecondDateOffset = 66;
constexpr std::size_t FirstDateOffset = 68;
constexpr std::size_t HoursOffset = 70;
constexpr std::size_t MinutesOffset = 72;
constexpr std::size_t SecondsOffset = 74;

bool IsBelow(int value, int limit) {
    return value >= 0 && value < limit;
}

}  // namespace

int Nsas::GetInt(NsasHeader header, std::size_t offset) {
    return ByteCursor(header.subspan(offset)).ReadI16();
}

std::string Nsas::GetText(NsasHeader header, std::size_t offset, std::size_t length) {
    if (offset + length > header.size()) {
        return {};
    }
    const NsasHeader field = header.subspan(offset, length);
    const auto isVisible = [](std::uint8_t byte) { return byte > ' '; };
    const auto end = std::find(field.begin(), field.end(), 0);
    const auto first = std::find_if(field.begin(), end, isVisible);
    const auto last =
        std::find_if(std::make_reverse_iterator(end), std::make_reverse_iterator(first), isVisible);
    return {first, last.base()};
}

std::string Nsas::GetDateText(NsasHeader header) {
    return NvString::Format("%02d-%02d-%02d %02d:%02d:%02d", GetInt(header, FirstDateOffset),
                            GetInt(header, SecondDateOffset), GetInt(header, ThirdDateOffset),
                            GetInt(header, HoursOffset), GetInt(header, MinutesOffset),
                            GetInt(header, SecondsOffset));
}

bool Nsas::HasTime(NsasHeader header) {
    return IsBelow(GetInt(header, HoursOffset), 24) && IsBelow(GetInt(header, MinutesOffset), 60) &&
           IsBelow(GetInt(header, SecondsOffset), 60);
}
