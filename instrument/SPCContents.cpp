#include "instrument/SPCContents.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "base/ByteCursor.h"
#include "instrument/EvenAxis.h"

namespace {

// The first sub-file's header lies at the end of an old file's header.
constexpr std::size_t OldFirstSubFile = SPCHeader::OldSize - SPCHeader::SubHeaderSize;

// The codes of X that there are.
constexpr unsigned int LastXType = 30;

// Of a directory: where a sub-file is, its size and its time.
constexpr std::uint64_t DirectoryEntrySize = 12;

// The log's own header: its size, that in memory, and where in it the text begins.
constexpr std::uint64_t LogHeaderSize = 64;

// The mark of floats as some write it into the two bytes of an old header.
constexpr int UnsignedFloatExponent = 128;

std::vector<double> MakeEvenAxis(const SPCHeader& header, std::size_t points) {
    if (header.numPoints < 2) {
        return EvenAxis{header.firstX, 0.0, header.firstX, 0}.Make(points);
    }
    return EvenAxis::Between(header.firstX, header.lastX, static_cast<std::size_t>(header.numPoints))
        .Make(points);
}

// All values of a sub-file that are integers of this kind.
template <class Integer, class Number>
void ReadIntegers(ByteCursor& stream, bool isBigEndian, double divisor, std::vector<Number>& values) {
    for (Number& value : values) {
        value = static_cast<Number>(ReadSPCNumber<Integer>(stream, isBigEndian) / divisor);
    }
}

}  // namespace

SPCContents::SPCContents(std::span<const std::uint8_t> bytes, SPCLayout layout) {
    ByteCursor stream(bytes);
    std::optional<SPCHeader> read = ReadSPCHeader(stream, layout);
    if (!read || !read->hasPointCount) {
        return;
    }
    header = std::move(*read);
    hasHeader = true;
    if (header.isOldFormat && header.values.exponent == UnsignedFloatExponent) {
        header.values.isFloat = true;
    }
    FindSubFiles(bytes);
    CheckDirectory(bytes);
    MakeAxis(bytes);
    ReadLog(bytes);
}

bool SPCContents::IsPlausible() const {
    if (!hasHeader || subFiles.empty() || !isWhole || axis.empty()) {
        return false;
    }
    const bool areFinite = std::isfinite(header.firstX) && std::isfinite(header.lastX);
    const unsigned int month = header.date >> 16U & 0x0fU;
    return areFinite && (header.xType <= LastXType || header.xType == 0xff) && month <= 12 &&
           (header.isOldFormat || header.numSubFiles > 0);
}

void SPCContents::AddNote(const char* code, std::uint64_t count, const std::string& place,
                          const std::string& text) {
    notes.push_back({code, count, place, text});
}

void SPCContents::FindSubFiles(std::span<const std::uint8_t> bytes) {
    std::uint64_t position = header.isOldFormat ? OldFirstSubFile : SPCHeader::NewSize;
    if (!header.isOldFormat && header.hasXArray && !header.hasXYPairs) {
        ByteCursor stream(bytes);
        stream.Seek(position);
        const std::size_t claimed = static_cast<std::size_t>(std::max(header.numPoints, 0));
        xArray.resize(std::min(claimed, stream.GetRemaining() / sizeof(float)));
        for (float& x : xArray) {
            x = ReadSPCNumber<float>(stream, header.values.isBigEndian);
        }
        position = stream.Tell();
    }
    // An old file has no count: its sub-files go on to its end.
    const std::size_t claimed = static_cast<std::size_t>(std::max(header.numSubFiles, 1));
    while ((header.isOldFormat || subFiles.size() < claimed) && AddSubFile(bytes, position)) {
    }
    end = static_cast<std::size_t>(position);
    if (!header.isOldFormat && subFiles.size() < claimed) {
        isWhole = false;
        AddNote("cut-file", claimed - subFiles.size(), "byte " + std::to_string(bytes.size()),
                "the file ends before " +
                    karta::CountOf(claimed - subFiles.size(), "of its sub-files", "of its sub-files") +
                    ", at byte " + std::to_string(bytes.size()));
    }
}

// The sub-file at the position, which moves behind it. False when there is none any more.
bool SPCContents::AddSubFile(std::span<const std::uint8_t> bytes, std::uint64_t& position) {
    ByteCursor stream(bytes);
    stream.Seek(position);
    const std::optional<SPCSubHeader> sub = ReadSPCSubHeader(stream, header.values.isBigEndian);
    if (!sub) {
        return false;
    }
    SPCSubFile file;
    file.values = header.values;
    if (header.isMulti) {
        file.values.exponent = sub->exponent;
        file.values.isFloat = sub->exponent == SPCFloatExponent;
    }
    // Floats are 32 bits wide, whatever the flags say of integers.
    file.values.is32Bit = file.values.is32Bit || file.values.isFloat;
    file.z = sub->time;
    file.w = sub->w;
    file.numScans = std::max(header.isOldFormat ? header.numScans : sub->numScans, 0);
    const bool hasOwnX = header.hasXYPairs && !header.isOldFormat;
    const bool ownCount = hasOwnX && (header.isMulti || sub->numPoints > 0);
    const auto points = static_cast<std::size_t>(std::max(ownCount ? sub->numPoints : header.numPoints, 0));
    const std::size_t width = file.values.GetWidth();
    const std::size_t pointSize = width + (hasOwnX ? sizeof(float) : 0);
    const bool isFirst = subFiles.empty();
    if (header.isOldFormat && !isFirst && stream.GetRemaining() < points * pointSize && !header.isMulti) {
        // What stands behind a single spectrum is no second one.
        return false;
    }
    file.xPosition = stream.Tell();
    const std::size_t xBytes = hasOwnX ? points * sizeof(float) : 0;
    if (stream.GetRemaining() >= points * pointSize) {
        file.points = points;
    } else if (stream.GetRemaining() > xBytes) {
        file.points = (stream.GetRemaining() - xBytes) / width;
    }
    file.yPosition = file.xPosition + xBytes;
    if (file.points < points) {
        isWhole = false;
        AddNote("cut-file", points - file.points, "byte " + std::to_string(bytes.size()),
                karta::CountOf(points - file.points, "value") + " of spectrum " +
                    std::to_string(subFiles.size() + 1) + " " + (points - file.points == 1 ? "was" : "were") +
                    " cut off at byte " + std::to_string(bytes.size()));
    }
    starts.push_back(static_cast<std::size_t>(position));
    position = std::min<std::uint64_t>(file.yPosition + points * width, bytes.size());
    subFiles.push_back(file);
    return true;
}

// A file of pairs has a directory, which a sub-file that was written anew is found by. An entry counts where
// a header of that sub-file lies; else the sub-files' own order does.
void SPCContents::CheckDirectory(std::span<const std::uint8_t> bytes) {
    if (header.isOldFormat || !header.hasXYPairs || !header.isMulti || header.numPoints <= 0) {
        return;
    }
    ByteCursor directory(bytes);
    directory.Seek(static_cast<std::uint64_t>(header.numPoints));
    if (!directory.Has(subFiles.size(), DirectoryEntrySize)) {
        AddNote("directory", 1, "byte " + std::to_string(header.numPoints),
                "the directory of the sub-files isn't where the header says; they are read in their order");
        return;
    }
    std::vector<int> moved;
    std::vector<int> wrong;
    // Sub-files don't lie in each other: together they are no larger than the file.
    std::uint64_t room = bytes.size();
    for (std::size_t i = 0; i < subFiles.size(); ++i) {
        std::uint64_t position = ReadSPCNumber<std::uint32_t>(directory, header.values.isBigEndian);
        directory.Skip(DirectoryEntrySize - sizeof(std::uint32_t));
        if (position == starts[i]) {
            continue;
        }
        ByteCursor stream(bytes);
        stream.Seek(position);
        const std::optional<SPCSubHeader> sub = ReadSPCSubHeader(stream, header.values.isBigEndian);
        const bool isSub = sub && sub->index == static_cast<std::int16_t>(i) && sub->numPoints > 0;
        const std::size_t pointSize = sizeof(float) + subFiles[i].values.GetWidth();
        const std::uint64_t size = isSub ? static_cast<std::uint64_t>(sub->numPoints) * pointSize : 0;
        const bool isIt = isSub && stream.Has(size) && size <= room;
        room -= isIt ? size : 0;
        if (!isIt) {
            wrong.push_back(static_cast<int>(i) + 1);
            continue;
        }
        moved.push_back(static_cast<int>(i) + 1);
        const std::size_t count = subFiles.size();
        AddSubFile(bytes, position);
        if (subFiles.size() > count) {
            std::swap(subFiles[i], subFiles.back());
            subFiles.pop_back();
            starts.pop_back();
        }
        end = std::max(end, static_cast<std::size_t>(position));
    }
    end = std::max(end, directory.Tell());
    if (!moved.empty()) {
        AddNote(
            "directory", moved.size(), "",
            "by the directory " + karta::CountOf(moved.size(), "sub-file") +
                " of the file stands elsewhere than in order, and is read from there: " + ListNumbers(moved));
    }
    if (!wrong.empty()) {
        AddNote("directory", wrong.size(), "",
                karta::CountOf(wrong.size(), "entry", "entries") +
                    " of the directory lead to no sub-file; these are read in their order: " +
                    ListNumbers(wrong));
    }
}

void SPCContents::MakeAxis(std::span<const std::uint8_t> bytes) {
    std::size_t points = 0;
    for (const SPCSubFile& subFile : subFiles) {
        points = std::max(points, subFile.points);
    }
    if (header.hasXYPairs && !header.isOldFormat) {
        if (!subFiles.empty()) {
            axis = ReadAxis(bytes, subFiles.front());
        }
        hasCommonAxis = std::all_of(subFiles.begin(), subFiles.end(), [&](const SPCSubFile& subFile) {
            return subFile.points == axis.size() && ReadAxis(bytes, subFile) == axis;
        });
    } else if (header.hasXArray && !header.isOldFormat) {
        axis.assign(xArray.begin(),
                    xArray.begin() + static_cast<std::ptrdiff_t>(std::min(points, xArray.size())));
    } else {
        axis = MakeEvenAxis(header, points);
    }
}

std::vector<double> SPCContents::ReadAxis(std::span<const std::uint8_t> bytes,
                                          const SPCSubFile& subFile) const {
    if (!header.hasXYPairs) {
        return axis;
    }
    ByteCursor stream(bytes);
    stream.Seek(subFile.xPosition);
    std::vector<double> xs(subFile.points);
    for (double& x : xs) {
        x = static_cast<double>(ReadSPCNumber<float>(stream, header.values.isBigEndian));
    }
    return xs;
}

void SPCContents::ReadValues(std::span<const std::uint8_t> bytes, const SPCSubFile& subFile,
                             SpectrumTable::Values& values) {
    ByteCursor stream(bytes);
    stream.Seek(subFile.yPosition);
    const SPCValueForm& form = subFile.values;
    ByteCursor part(stream.Take(subFile.points * form.GetWidth()));
    const double divisor = form.GetDivisor();
    if (form.FitsFloat()) {
        values.floatRoom.resize(subFile.points);
        if (form.is32Bit && !form.isBigEndian) {
            part.ReadRun<float>(values.floatRoom);
        } else if (form.is32Bit) {
            for (float& value : values.floatRoom) {
                value = part.ReadBigFloat();
            }
        } else {
            ReadIntegers<std::int16_t>(part, form.isBigEndian, divisor, values.floatRoom);
        }
        values.floats = values.floatRoom;
        return;
    }
    values.doubleRoom.resize(subFile.points);
    if (!form.is32Bit) {
        ReadIntegers<std::int16_t>(part, form.isBigEndian, divisor, values.doubleRoom);
    } else if (!form.isOldFormat) {
        ReadIntegers<std::int32_t>(part, form.isBigEndian, divisor, values.doubleRoom);
    } else {
        for (double& value : values.doubleRoom) {
            value = form.Read(part, divisor);
        }
    }
    values.doubles = values.doubleRoom;
}

void SPCContents::ReadLog(std::span<const std::uint8_t> bytes) {
    if (header.isOldFormat || header.logPosition == 0) {
        return;
    }
    ByteCursor stream(bytes);
    stream.Seek(header.logPosition);
    if (!stream.Has(LogHeaderSize)) {
        AddNote("log", 1, "byte " + std::to_string(header.logPosition),
                "the file ends before its log, or in it");
        return;
    }
    const bool isBigEndian = header.values.isBigEndian;
    const std::uint64_t size = ReadSPCNumber<std::uint32_t>(stream, isBigEndian);
    stream.Skip(sizeof(std::uint32_t));
    const std::uint64_t textOffset = ReadSPCNumber<std::uint32_t>(stream, isBigEndian);
    logBytes = ReadSPCNumber<std::uint32_t>(stream, isBigEndian);
    stream.Seek(header.logPosition + textOffset);
    logBytes = std::min<std::uint64_t>(logBytes, bytes.size() - header.logPosition - LogHeaderSize);
    if (stream.HasFailed()) {
        return;
    }
    const std::uint64_t length = size > textOffset ? size - textOffset : stream.GetRemaining();
    log = stream.ReadTerminatedText(std::min<std::uint64_t>(length, stream.GetRemaining()));
}

void SPCContents::DecodeTexts(SpectrumTexts& texts) {
    for (std::string* text :
         {&header.resolution, &header.source, &header.memo, &header.axisText, &header.method, &log}) {
        *text = texts.ToUtf8(*text);
    }
}
