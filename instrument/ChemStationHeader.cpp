#include "instrument/ChemStationHeader.h"

#include <array>
#include <bit>
#include <charconv>
#include <chrono>
#include <cstring>
#include <iterator>
#include <string_view>

#include "base/Ascii.h"
#include "base/NumberParser.h"
#include "base/Unicode.h"

namespace {

constexpr int FirstNewerVersion = 100;
constexpr std::uint64_t BlockSize = 512;

constexpr std::string_view Months[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                       "jul", "aug", "sep", "oct", "nov", "dec"};

// Two digits of a year: from here on the last century's.
constexpr int FirstShortYear = 70;

bool TakeNumber(std::string_view& text, int& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || number < 0) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return true;
}

bool TakeMark(std::string_view& text, char mark) {
    if (text.empty() || text.front() != mark) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool TakeMonth(std::string_view& text, int& month) {
    std::string name(text.substr(0, 3));
    for (char& letter : name) {
        letter = ToLower(letter);
    }
    for (std::size_t i = 0; i < std::size(Months); ++i) {
        if (name == Months[i]) {
            month = static_cast<int>(i) + 1;
            text.remove_prefix(name.size());
            return true;
        }
    }
    return false;
}

// The marker of a big-endian file, in the machine's own order.
constexpr std::uint16_t BigMarkerAsItLies = std::endian::native == std::endian::little ? 0x0080 : 0x8000;

struct Day {
    int year = 0;
    int month = 0;
    int day = 0;
};

// "17-Jun-06"; or numbers between strokes where one of the first two can't be a month.
bool TakeDay(std::string_view& text, Day& day) {
    int first = 0;
    if (!TakeNumber(text, first)) {
        return false;
    }
    day.day = first;
    if (TakeMark(text, '-')) {
        return TakeMonth(text, day.month) && TakeMark(text, '-') && TakeNumber(text, day.year);
    }
    int second = 0;
    if (!TakeMark(text, '/') || !TakeNumber(text, second) || !TakeMark(text, '/') ||
        !TakeNumber(text, day.year)) {
        return false;
    }
    constexpr int LastMonth = 12;
    if ((first > LastMonth) == (second > LastMonth) && first != second) {
        return false;
    }
    day.month = first > LastMonth ? second : first;
    day.day = first > LastMonth ? first : second;
    return true;
}

// "15:40", "15:40:38", "2:00:32 PM".
bool TakeTime(std::string_view text, std::int64_t& seconds) {
    int hours = 0;
    int minutes = 0;
    int rest = 0;
    if (!TakeNumber(text, hours) || !TakeMark(text, ':') || !TakeNumber(text, minutes) ||
        (TakeMark(text, ':') && !TakeNumber(text, rest))) {
        return false;
    }
    constexpr int Noon = 12;
    if (text == " PM" || text == " AM") {
        hours = hours % Noon + (text == " PM" ? Noon : 0);
    } else if (!text.empty()) {
        return false;
    }
    seconds = (std::int64_t{hours} * 60 + minutes) * 60 + rest;
    return hours < 24 && minutes < 60 && rest < 60;
}

}  // namespace

const ChemStationLayout ChemStationLayout::Older{false, 0x4,   0x18,  0x56,  0x94, 0xb2,  0xd0,
                                                 0xda,  0xe4,  0x0,   0x254, 0xda, 0x13e, 0x146,
                                                 0x212, 0x214, 0x244, 0x27c, 0x284};
const ChemStationLayout ChemStationLayout::Newer{true,   0x15b,  0x35a,  0x559,  0x758, 0x957, 0x9bc,
                                                 0x9e5,  0xa0e,  0xc11,  0x1075, 0xc40, 0xc0d, 0xc15,
                                                 0x101a, 0x101c, 0x104c, 0x1274, 0x127c};

const ChemStationLayout& ChemStationLayout::Of(int version) {
    return version < FirstNewerVersion ? Older : Newer;
}

std::string ReadChemStationText(ByteCursor& stream, std::uint64_t position, bool wide) {
    stream.Seek(position);
    const std::size_t length = stream.ReadU8();
    const std::string text =
        wide ? Utf16ToUtf8(stream.Take(2 * length)) : std::string(stream.ReadText(length));
    return text.substr(0, text.find('\0'));
}

int ReadChemStationVersion(ByteCursor& stream) {
    const int version = ToLeadingInt(ReadChemStationText(stream, ChemStationField::Version, false));
    return version < FirstNewerVersion
               ? version
               : ToLeadingInt(ReadChemStationText(stream, ChemStationField::WideVersion, true));
}

std::uint64_t ChemStationDataOffset(std::int32_t dataStart) {
    return static_cast<std::uint64_t>(dataStart - 1) * BlockSize;
}

// At the very start neither comma nor blanks are touched.
std::string TidyChemStationDate(std::string date) {
    const std::size_t comma = date.find(',');
    if (comma != std::string::npos && comma > 0) {
        date.erase(comma, 1);
    }
    for (std::size_t blanks = date.find("  ", 1); blanks != std::string::npos; blanks = date.find("  ", 1)) {
        date.erase(blanks, 1);
    }
    return date;
}

std::optional<std::int64_t> ParseChemStationDate(const std::string& date) {
    const std::string tidy = TidyChemStationDate(date);
    std::string_view text = tidy;
    Day day;
    std::int64_t seconds = 0;
    if (!TakeDay(text, day) || !TakeMark(text, ' ') || !TakeTime(text, seconds)) {
        return std::nullopt;
    }
    constexpr int Century = 100;
    if (day.year < Century) {
        day.year += day.year < FirstShortYear ? 2000 : 1900;
    }
    const std::chrono::year_month_day civil{std::chrono::year(day.year),
                                            std::chrono::month(static_cast<unsigned int>(day.month)),
                                            std::chrono::day(static_cast<unsigned int>(day.day))};
    constexpr int LastYear = 9999;
    if (!civil.ok() || day.year > LastYear) {
        return std::nullopt;
    }
    constexpr std::int64_t SecondsOfADay = 86400;
    const std::int64_t days = std::chrono::sys_days(civil).time_since_epoch().count();
    return (days * SecondsOfADay + seconds) * 1'000'000;
}

bool SpectrumHeaderInfo::Read(ByteCursor& stream) {
    const std::uint16_t head = stream.ReadBigU16();
    hasValues = (head & 0xf000) != 0;
    length = head & 0x0fff;
    return !stream.HasFailed();
}

void ChemStationRunningValue::TakeBig(ByteCursor& stream) {
    const std::int16_t difference = stream.ReadBigI16();
    value = difference == ChemStationAbsoluteMarker
                ? stream.ReadBigI32()
                : static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                            static_cast<std::uint32_t>(difference));
}

void ChemStationRunningValue::TakeLittle(ByteCursor& stream) {
    const std::int16_t difference = stream.ReadI16();
    value = difference == ChemStationAbsoluteMarker
                ? stream.ReadI32()
                : static_cast<std::int32_t>(static_cast<std::uint32_t>(value) +
                                            static_cast<std::uint32_t>(difference));
}

// One check a value: most steps are differences of two bytes.
template <bool IsBigEndian>
ChemStationRunningValue::Taken ChemStationRunningValue::Take(std::span<const std::uint8_t> bytes,
                                                             double scale, std::span<double> values) {
    constexpr std::size_t AbsoluteSize = 4;
    auto running = static_cast<std::uint32_t>(value);
    const std::uint8_t* const begin = bytes.data();
    std::size_t position = 0;
    std::size_t count = 0;
    for (; count < values.size() && bytes.size() - position >= sizeof(std::int16_t); ++count) {
        const unsigned int first = begin[position];
        const unsigned int second = begin[position + 1];
        const auto difference =
            static_cast<std::int16_t>(IsBigEndian ? first << 8 | second : second << 8 | first);
        position += sizeof difference;
        if (difference != ChemStationAbsoluteMarker) {
            running += static_cast<std::uint32_t>(difference);
        } else if (bytes.size() - position >= AbsoluteSize) {
            ByteCursor absolute(bytes.subspan(position, AbsoluteSize));
            running = IsBigEndian ? absolute.ReadBigU32() : absolute.ReadU32();
            position += AbsoluteSize;
        } else {
            break;
        }
        values[count] = static_cast<std::int32_t>(running) * scale;
    }
    value = static_cast<std::int32_t>(running);
    return {count, position};
}

ChemStationRunningValue::Taken ChemStationRunningValue::TakeBig(std::span<const std::uint8_t> bytes,
                                                                double scale, std::span<double> values) {
    return Take<true>(bytes, scale, values);
}

ChemStationRunningValue::Taken ChemStationRunningValue::TakeLittle(std::span<const std::uint8_t> bytes,
                                                                   double scale, std::span<double> values) {
    return Take<false>(bytes, scale, values);
}

// Differences between two markers are passed over in blocks, in which there is none in nearly all cases.
ChemStationRunningValue::Taken ChemStationRunningValue::CountBig(std::span<const std::uint8_t> bytes,
                                                                 std::size_t steps) {
    constexpr std::size_t BlockSteps = 16;
    constexpr std::size_t AbsoluteSize = 4;
    Taken found;
    while (found.values < steps) {
        const std::span<const std::uint8_t> rest = bytes.subspan(found.bytes);
        if (steps - found.values >= BlockSteps && rest.size() >= BlockSteps * sizeof(std::int16_t)) {
            std::array<std::uint16_t, BlockSteps> words;
            std::memcpy(words.data(), rest.data(), sizeof words);
            bool hasMarker = false;
            for (const std::uint16_t word : words) {
                hasMarker |= word == BigMarkerAsItLies;
            }
            if (!hasMarker) {
                found.values += BlockSteps;
                found.bytes += sizeof words;
                continue;
            }
        }
        ByteCursor step(rest);
        if (step.ReadBigI16() == ChemStationAbsoluteMarker) {
            step.Skip(AbsoluteSize);
        }
        if (step.HasFailed()) {
            break;
        }
        ++found.values;
        found.bytes += step.Tell();
    }
    return found;
}

bool SpectrumRecord::Read(ByteCursor& stream, std::uint64_t recordPosition) {
    stream.Seek(recordPosition);
    position = recordPosition;
    kind = stream.ReadU8();
    stream.Skip(1);
    length = stream.ReadI16();
    time = stream.ReadI32();
    start = stream.ReadI16();
    end = stream.ReadI16();
    step = stream.ReadI16();
    stream.Skip(2);
    fieldLength = stream.ReadI16();
    return !stream.HasFailed();
}
