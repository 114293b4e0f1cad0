#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "base/ByteCursor.h"

// What the files of a ChemStation begin with, and the steps by which their values are written. The header is
// big-endian and has two layouts, told apart by the version text: below 100, with narrow texts, and from 100
// on, with texts of 16-bit characters.

/** Where the fields of one layout stand. */
struct ChemStationLayout {
    bool wide;  // texts of 16-bit characters
    std::uint64_t fileType;
    std::uint64_t sampleName;
    std::uint64_t description;
    std::uint64_t operatorName;
    std::uint64_t date;
    std::uint64_t detector;
    std::uint64_t technique;
    std::uint64_t method;
    std::uint64_t software;  // 0: the layout has none
    std::uint64_t signal;    // of a .ch file
    std::uint64_t spectraSignal;
    std::uint64_t spectraScale;
    std::uint64_t spectraUnit;
    std::uint64_t rate;
    std::uint64_t secondRate;
    std::uint64_t unit;
    std::uint64_t offset;  // what is added to a scaled value
    std::uint64_t scale;

    static const ChemStationLayout Older;
    static const ChemStationLayout Newer;
    static const ChemStationLayout& Of(int version);
};

/** The fields that stand at one place in both layouts. */
struct ChemStationField {
    static constexpr std::uint64_t Version = 0x0;
    static constexpr std::uint64_t HeaderInt1 = 0xf8;
    static constexpr std::uint64_t SequenceLine = 0xfc;
    static constexpr std::uint64_t Vial = 0xfe;
    static constexpr std::uint64_t Injection = 0x100;
    static constexpr std::uint64_t HeaderInt2 = 0x104;
    static constexpr std::uint64_t DataStart = 0x108;
    static constexpr std::uint64_t NumRecords = 0x116;
    static constexpr std::uint64_t Start = 0x11a;
    static constexpr std::uint64_t End = 0x11e;
    static constexpr std::uint64_t Flag = 0x13a;
    static constexpr std::uint64_t WideVersion = 0x146;
};

/** One length byte and that many characters, which end at a NUL. Wide ones arrive as UTF-8. */
std::string ReadChemStationText(ByteCursor& stream, std::uint64_t position, bool wide);

/** The number that the version texts tell; below 1 where there is none. */
int ReadChemStationVersion(ByteCursor& stream);

/** Where the values begin, from the header's number of a block of 512 bytes, which is 1 at least. */
std::uint64_t ChemStationDataOffset(std::int32_t dataStart);

/** The date without its first comma and with single blanks: "10-Apr-12, 15:40" is "10-Apr-12 15:40". */
std::string TidyChemStationDate(std::string date);

/** Microseconds since 1970 of such a date; nothing where it isn't sure which number is what. */
std::optional<std::int64_t> ParseChemStationDate(const std::string& date);

/** A difference of this value says that 4 bytes follow that replace the running value. */
constexpr std::int16_t ChemStationAbsoluteMarker = -0x8000;

/** The head of a run of values in a .ch file. */
struct SpectrumHeaderInfo {
    bool hasValues = false; /**< the high 4 bits: a run follows */
    int length = 0;         /**< the low 12 bits: of so many values */

    /** False past the file's end. */
    bool Read(ByteCursor& stream);
};

/** The running value of compressed values. It wraps around as the instrument's own does. */
struct ChemStationRunningValue {
    std::int32_t value = 0;

    /** Steps of a stretch of bytes: as many as `values` are, or as its bytes last. */
    struct Taken {
        std::size_t values = 0;
        std::size_t bytes = 0;
    };

    /** Takes one step: a difference, or behind its marker an absolute value. */
    void TakeBig(ByteCursor& stream);
    void TakeLittle(ByteCursor& stream);
    /** Takes the steps of `bytes` into `values`, each times `scale`. */
    Taken TakeBig(std::span<const std::uint8_t> bytes, double scale, std::span<double> values);
    Taken TakeLittle(std::span<const std::uint8_t> bytes, double scale, std::span<double> values);
    /** What taking so many steps of `bytes` would take, of big-endian ones. */
    static Taken CountBig(std::span<const std::uint8_t> bytes, std::size_t steps);

private:
    template <bool IsBigEndian>
    Taken Take(std::span<const std::uint8_t> bytes, double scale, std::span<double> values);
};

/** One spectrum of a .uv file: the head of its record. */
struct SpectrumRecord {
    static constexpr std::uint64_t HeadSize = 18;
    static constexpr std::uint8_t KindCompressed = 'C';
    static constexpr std::uint8_t KindAbsolute = 'A';

    std::uint64_t position = 0;
    std::uint8_t kind = 0;
    std::int16_t length = 0;  // to the next record
    std::int32_t time = 0;    // in ms
    std::int16_t start = 0;   // in 1/20 nm
    std::int16_t end = 0;
    std::int16_t step = 0;
    std::int16_t fieldLength = 0;
    bool isLast = false;

    /** False past the file's end. */
    bool Read(ByteCursor& stream, std::uint64_t recordPosition);
    bool IsKnown() const { return kind == KindCompressed || kind == KindAbsolute; }
    bool HasAxisOf(const SpectrumRecord& other) const {
        return start == other.start && end == other.end && step == other.step;
    }
};
