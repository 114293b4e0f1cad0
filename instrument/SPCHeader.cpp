#include "instrument/SPCHeader.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

// The second byte of a file tells its layout.
constexpr std::uint64_t VersionOffset = 1;
constexpr std::uint8_t VersionNew = 'K';
constexpr std::uint8_t VersionOld = 'M';
constexpr std::uint8_t VersionBigEndian = 'L';

// The type flags, the first byte.
constexpr unsigned int FlagInt16 = 0x01;
constexpr unsigned int FlagMulti = 0x04;
constexpr unsigned int FlagOrdered = 0x10;
constexpr unsigned int FlagAxisText = 0x20;
constexpr unsigned int FlagXYPairs = 0x40;
constexpr unsigned int FlagXArray = 0x80;

// The new header.
constexpr std::uint64_t TechniqueOffset = 2;
constexpr std::uint64_t DateOffset = 32;
constexpr std::uint64_t ResolutionSize = 9;
constexpr std::uint64_t SourceSize = 9;
constexpr std::uint64_t MemoOffset = 88;
constexpr std::uint64_t MemoSize = 130;
constexpr std::uint64_t AxisTextSize = 30;
constexpr std::uint64_t LogOffset = 248;
constexpr std::uint64_t MethodOffset = 264;
constexpr std::uint64_t MethodSize = 48;
constexpr std::uint64_t ZIncrementOffset = 312;

// The old header. In its year's high bits stands the type of Z.
constexpr std::uint64_t OldExponentOffset = 2;
constexpr std::uint64_t OldXTypeOffset = 16;
constexpr unsigned int OldYearMask = 0x0fff;
constexpr unsigned int OldZTypeShift = 12;
constexpr std::uint64_t OldScansOffset = 34;
constexpr std::uint64_t OldMemoOffset = 64;

// 2 to a whole power. Beyond the range of a double it is infinite, or zero for a negative power.
double PowerOfTwo(int power) {
    double result = 1.0;
    double square = 2.0;
    for (unsigned int rest = static_cast<unsigned int>(std::abs(power)); rest != 0; rest >>= 1U) {
        if ((rest & 1U) != 0) {
            result *= square;
        }
        square *= square;
    }
    return power < 0 ? 1.0 / result : result;
}

void TakeFlags(SPCHeader& header, unsigned int flags) {
    header.values.is32Bit = (flags & FlagInt16) == 0;
    header.isMulti = (flags & FlagMulti) != 0;
    header.isOrdered = (flags & FlagOrdered) != 0;
    header.hasAxisText = (flags & FlagAxisText) != 0;
    header.hasXYPairs = (flags & FlagXYPairs) != 0;
    header.hasXArray = (flags & FlagXArray) != 0;
}

void TakeExponent(SPCHeader& header, int exponent) {
    header.values.exponent = exponent;
    header.values.isFloat = exponent == SPCFloatExponent;
}

SPCHeader ReadNewHeader(ByteCursor bytes, bool isBigEndian) {
    const auto read = [&]<class Number>(Number& field) { field = ReadSPCNumber<Number>(bytes, isBigEndian); };
    SPCHeader header;
    header.values.isBigEndian = isBigEndian;
    TakeFlags(header, bytes.ReadU8());
    bytes.Seek(TechniqueOffset);
    header.technique = bytes.ReadU8();
    TakeExponent(header, bytes.ReadI8());
    read(header.numPoints);
    read(header.firstX);
    read(header.lastX);
    read(header.numSubFiles);
    header.spacing = (header.lastX - header.firstX) / (static_cast<std::uint32_t>(header.numPoints) - 1U);
    header.xType = bytes.ReadU8();
    header.yType = bytes.ReadU8();
    header.zType = bytes.ReadU8();
    bytes.Seek(DateOffset);
    read(header.date);
    header.resolution = bytes.ReadTerminatedText(ResolutionSize);
    header.source = bytes.ReadTerminatedText(SourceSize);
    bytes.Seek(MemoOffset);
    header.memo = bytes.ReadTerminatedText(MemoSize);
    header.axisText = bytes.ReadText(AxisTextSize);
    bytes.Seek(LogOffset);
    header.logPosition = ReadSPCNumber<std::uint32_t>(bytes, isBigEndian);
    bytes.Seek(MethodOffset);
    header.method = bytes.ReadTerminatedText(MethodSize);
    bytes.Seek(ZIncrementOffset);
    read(header.zIncrement);
    read(header.numWPlanes);
    read(header.wIncrement);
    header.wType = bytes.ReadU8();
    return header;
}

SPCHeader ReadOldHeader(ByteCursor bytes) {
    SPCHeader header;
    header.isOldFormat = true;
    header.values.isOldFormat = true;
    TakeFlags(header, bytes.ReadU8());
    bytes.Seek(OldExponentOffset);
    TakeExponent(header, bytes.ReadI16());
    const float count = bytes.ReadFloat();
    header.firstX = static_cast<double>(bytes.ReadFloat());
    header.lastX = static_cast<double>(bytes.ReadFloat());
    header.hasPointCount = std::fabs(count) < static_cast<float>(std::numeric_limits<int>::max());
    header.numPoints = header.hasPointCount ? static_cast<int>(count) : 0;
    header.spacing = (header.lastX - header.firstX) / (static_cast<double>(header.numPoints) - 1.0);
    bytes.Seek(OldXTypeOffset);
    header.xType = bytes.ReadU8();
    header.yType = bytes.ReadU8();
    const unsigned int yearAndType = bytes.ReadU16();
    header.zType = static_cast<unsigned char>(yearAndType >> OldZTypeShift);
    const unsigned int month = bytes.ReadU8();
    const unsigned int day = bytes.ReadU8();
    const unsigned int hour = bytes.ReadU8();
    const unsigned int minute = bytes.ReadU8();
    header.date = (yearAndType & OldYearMask) << 20U | (month & 0x0fU) << 16U | (day & 0x1fU) << 11U |
                  (hour & 0x1fU) << 6U | (minute & 0x3fU);
    header.resolution = bytes.ReadTerminatedText(8);
    bytes.Seek(OldScansOffset);
    header.numScans = bytes.ReadU16();
    bytes.Seek(OldMemoOffset);
    header.memo = bytes.ReadTerminatedText(MemoSize);
    header.axisText = bytes.ReadText(AxisTextSize);
    return header;
}

}  // namespace

double SPCValueForm::GetDivisor() const {
    return PowerOfTwo((is32Bit ? 32 : 16) - exponent);
}

double SPCValueForm::Read(ByteCursor& stream, double divisor) const {
    if (!is32Bit) {
        return ReadSPCNumber<std::int16_t>(stream, isBigEndian) / divisor;
    }
    if (isFloat) {
        return static_cast<double>(ReadSPCNumber<float>(stream, isBigEndian));
    }
    if (isOldFormat) {
        const std::uint32_t high = stream.ReadU16();
        const std::uint32_t low = stream.ReadU16();
        return static_cast<std::int32_t>(high << 16U | low) / divisor;
    }
    return ReadSPCNumber<std::int32_t>(stream, isBigEndian) / divisor;
}

std::string_view SPCHeader::GetAxisText(std::size_t axis) const {
    std::string_view rest = axisText;
    for (std::size_t i = 0; i < axis; ++i) {
        const std::size_t end = rest.find('\0');
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return rest.substr(0, rest.find('\0'));
}

SPCLayout FindSPCLayout(ByteCursor& stream) {
    stream.Seek(VersionOffset);
    const std::uint8_t version = stream.ReadU8();
    if (stream.HasFailed()) {
        return SPCLayout::None;
    }
    switch (version) {
        case VersionNew:
            return SPCLayout::New;
        case VersionOld:
            return SPCLayout::Old;
        case VersionBigEndian:
            return SPCLayout::BigEndian;
        default:
            return SPCLayout::None;
    }
}

std::optional<SPCHeader> ReadSPCHeader(ByteCursor& stream, SPCLayout layout) {
    const bool isOld = layout == SPCLayout::Old;
    const ByteCursor bytes(stream.Take(isOld ? SPCHeader::OldSize : SPCHeader::NewSize));
    if (stream.HasFailed()) {
        return std::nullopt;
    }
    return isOld ? ReadOldHeader(bytes) : ReadNewHeader(bytes, layout == SPCLayout::BigEndian);
}

std::optional<SPCSubHeader> ReadSPCSubHeader(ByteCursor& stream, bool isBigEndian) {
    ByteCursor bytes(stream.Take(SPCHeader::SubHeaderSize));
    if (stream.HasFailed()) {
        return std::nullopt;
    }
    const auto read = [&]<class Number>(Number& field) { field = ReadSPCNumber<Number>(bytes, isBigEndian); };
    SPCSubHeader header;
    bytes.Skip(1);
    // It has a sign.
    // NOLINTNEXTLINE(bugprone-signed-char-misuse)
    header.exponent = bytes.ReadI8();
    header.index = ReadSPCNumber<std::int16_t>(bytes, isBigEndian);
    read(header.time);
    read(header.nextTime);
    bytes.Skip(sizeof(float));
    read(header.numPoints);
    read(header.numScans);
    read(header.w);
    return header;
}
