#include "container/Mat5Arrays.h"

#include <algorithm>
#include <string_view>

#include "base/ByteCursor.h"
#include "base/DateParser.h"
#include "base/DateText.h"
#include "base/NumberParser.h"
#include "container/MatFile.h"
#include "container/MatNumber.h"

namespace {

// The header: text, subsystem offset, version, endian indicator.
constexpr std::size_t TextSize = 116;
constexpr std::size_t SubsystemOffset = 116;
constexpr std::size_t VersionOffset = 124;
constexpr std::size_t EndianIndicatorOffset = 126;
constexpr std::string_view LittleEndian = "IM";
constexpr std::string_view BigEndian = "MI";

constexpr std::uint64_t TagSize = 8;

// Octave counts the bytes of a short text of several rows twice, where it packs them into their tag.
constexpr std::uint64_t CountedTwice = 4;

// No deflated stream grows to more than this.
constexpr std::uint64_t MostInflation = 1032;

// Arrays in arrays in arrays: deeper ones are listed as unreadable.
constexpr int MaxDepth = 64;

std::string_view TextAt(std::span<const std::uint8_t> bytes, std::size_t offset, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes.data()) + offset, size};
}

// What follows a word in the header, up to a comma.
std::string_view Following(std::string_view text, std::string_view word) {
    const std::size_t at = text.find(word);
    return at == std::string_view::npos
               ? std::string_view()
               : TrimSpace(text.substr(at + word.size()).substr(0, text.substr(at + word.size()).find(',')));
}

// "Tue Aug 15 17:45:20 2006" or, as Octave has it, "2026-11-22 03:50:00 UTC"; empty for another form.
std::string IsoTime(std::string_view text) {
    std::string words[5];
    std::size_t count = 0;
    for (std::string_view rest = TrimSpace(text); !rest.empty() && count < std::size(words); ++count) {
        words[count] = rest.substr(0, rest.find(' '));
        rest.remove_prefix(words[count].size());
        SkipSpace(rest);
    }
    const std::string date =
        count == 5 ? words[2] + " " + words[1] + " " + words[4] + " " + words[3] : words[0] + " " + words[1];
    COleDateTime time;
    if ((count != 5 && count != 3) || !time.ParseDateTime(date)) {
        return {};
    }
    // Serials count days from 1899-12-30.
    constexpr double DaysTo1970 = 25569;
    constexpr double SecondsADay = 86400;
    const double seconds = (time.GetSerial() - DaysTo1970) * SecondsADay;
    return FormatDateTime(static_cast<std::int64_t>(seconds + (seconds < 0 ? -0.5 : 0.5)) * 1'000'000);
}

}  // namespace

bool Mat5Arrays::IsLevel5(std::span<const std::uint8_t> file) {
    if (file.size() < HeaderSize) {
        return false;
    }
    const std::string_view indicator = TextAt(file, EndianIndicatorOffset, 2);
    const bool big = indicator == BigEndian;
    return (big || indicator == LittleEndian) && file[VersionOffset + (big ? 0 : 1)] == 1;
}

Mat5Arrays::Mat5Arrays(std::span<const std::uint8_t> file, karta::ReadContext& readContext)
    : bytes(file),
      context(readContext),
      swap(TextAt(file, EndianIndicatorOffset, LittleEndian.size()) != LittleEndian) {}

// MATLAB's own store of its objects has its place in the header and is no variable.
bool Mat5Arrays::FindElements() {
    ByteCursor header(bytes);
    header.Seek(SubsystemOffset);
    const std::uint64_t subsystem = swap ? header.ReadBig<std::uint64_t>() : header.ReadU64();
    std::uint64_t at = HeaderSize;
    bool mayBeMiscounted = false;
    while (bytes.size() - at >= TagSize) {
        ByteCursor cursor(bytes);
        cursor.Seek(at);
        const std::uint32_t type = swap ? cursor.ReadBigU32() : cursor.ReadU32();
        const std::uint32_t size = swap ? cursor.ReadBigU32() : cursor.ReadU32();
        if (type != MatMatrix && type != MatCompressed && mayBeMiscounted) {
            at -= CountedTwice;
            mayBeMiscounted = false;
            continue;
        }
        if (type == 0 && size == 0) {
            // Padding.
            at += TagSize;
            continue;
        }
        const std::uint64_t there = std::min<std::uint64_t>(size, cursor.GetRemaining());
        if (type == MatCompressed || type == MatMatrix) {
            const bool isCompressed = type == MatCompressed;
            mayBeMiscounted = !isCompressed && size % TagSize == CountedTwice;
            const auto whole = bytes.subspan(static_cast<std::size_t>(isCompressed ? at + TagSize : at));
            if (at != subsystem) {
                elements.push_back(
                    {whole.first(static_cast<std::size_t>(there + (isCompressed ? 0 : TagSize))),
                     isCompressed, there < size});
            }
        } else {
            remarks.push_back("an element of type " + std::to_string(type) + " at byte " +
                              std::to_string(at) + " is no array and was left out");
            return !elements.empty();
        }
        at += TagSize + there;
    }
    return true;
}

MatElementStream& Mat5Arrays::OpenElement(std::size_t number) {
    if (stream == nullptr || openElement != number) {
        const Element& element = elements[number];
        if (element.isCompressed) {
            stream = std::make_unique<MatInflatingStream>(element.bytes, karta::Budget::GetInflateLimit(),
                                                          context.budget);
        } else {
            stream = std::make_unique<MatPlainStream>(element.bytes, 0);
        }
        openElement = number;
    } else if (stream->Tell() > 0) {
        stream->Rewind();
    }
    return *stream;
}

// The stream at an array's content. Arrays that are read in the order of the file take one pass.
MatElementStream& Mat5Arrays::StreamAt(const MatArray& array) {
    if (stream == nullptr || openElement != array.element || stream->Tell() > array.position) {
        OpenElement(array.element);
    }
    stream->Skip(array.position - stream->Tell());
    return *stream;
}

// An array with its tag, from where the stream stands.
bool Mat5Arrays::ReadElementHead(MatArray& array) {
    MatTag tag;
    const std::uint64_t start = stream->Tell();
    if (!Reader().ReadTag(tag) || tag.type != MatMatrix) {
        return false;
    }
    array.element = openElement;
    array.position = stream->Tell();
    array.end = start + TagSize + tag.size;
    array.problemStatus = MatFile::StatusCorrupt;
    if (tag.size == 0) {
        // How an empty element of a cell array or structure may be written.
        array.dimensions = {0, 0};
        return true;
    }
    if (!Reader().ReadHead(array)) {
        return false;
    }
    if (array.isLogical && array.type == MatArray::UInt8 && IsSparseAfterAll(array)) {
        array.type = MatArray::Sparse;
    }
    if (array.type == MatArray::Characters && BytesLeft(array) == TagSize + CountedTwice &&
        PeekWord() >> 16 != 0) {
        array.end -= CountedTwice;
    }
    return true;
}

// The next four bytes, as the first word of a tag: its upper half is 0 unless the data are packed into it.
std::uint32_t Mat5Arrays::PeekWord() {
    std::uint8_t word[sizeof(std::uint32_t)] = {};
    stream->Peek(word, sizeof word);
    return DecodeMatNumber<std::uint32_t>(word, swap);
}

// Octave calls its sparse truth values full ones. These would be one element of a byte each; where there are
// other bytes and a row index stands first, it is a sparse array.
bool Mat5Arrays::IsSparseAfterAll(const MatArray& array) {
    const auto padded = [](std::uint64_t size) { return (size + TagSize - 1) / TagSize * TagSize; };
    const std::uint64_t bytesLeft = BytesLeft(array);
    if (bytesLeft == TagSize + padded(array.Count()) || bytesLeft <= 2 * TagSize) {
        return false;
    }
    const std::uint32_t word = PeekWord();
    return (word >> 16 == 0 ? word : word & 0xffff) == MatInt32;
}

int Mat5Arrays::List(std::vector<MatArray>& arrays) {
    if (!FindElements()) {
        return MatFile::StatusNoMatFile;
    }
    for (std::size_t number = 0; number < elements.size(); ++number) {
        context.ThrowIfStopped();
        ListElement(number, arrays);
    }
    return 0;
}

// What is wrong with one variable is a matter of this one.
void Mat5Arrays::ListElement(std::size_t number, std::vector<MatArray>& arrays) {
    OpenElement(number);
    MatArray array;
    array.dimensions = {0, 0};
    array.problemStatus = MatFile::StatusCorrupt;
    const Element& element = elements[number];
    const bool hasHead = ReadElementHead(array);
    if (hasHead && array.name.empty() && array.problem.empty() && array.type == MatArray::UInt8) {
        // The store of MATLAB's objects in a file whose header doesn't tell its place.
        return;
    }
    const std::uint64_t most =
        element.isCompressed ? MostInflation * element.bytes.size() + TagSize : element.bytes.size();
    if (!hasHead || (array.end > most && !element.isCut)) {
        array.problem = "damaged";
    } else if (element.isCut) {
        array.problem = "cut off";
    }
    array.element = number;
    ListArray(std::move(array), arrays);
}

// For a table of entries their number is needed before they are read.
void Mat5Arrays::CountEntries(MatArray& array) {
    MatTag tag;
    std::vector<std::int32_t> starts;
    StreamAt(array);
    if (!Reader().ReadTag(tag) || !stream->Skip(tag.size)) {
        array.problem = "damaged";
        return;
    }
    stream->Align(tag.alignment);
    if (!Reader().ReadIntegers(starts) || starts.empty() || starts.back() < 0) {
        array.problem = "damaged";
        return;
    }
    array.entries = static_cast<std::uint64_t>(starts.back());
}

int Mat5Arrays::ListArray(MatArray array, std::vector<MatArray>& arrays) {
    if (array.depth > MaxDepth) {
        array.problem = "in too many others";
    }
    if (array.problem.empty() && array.IsGivenAsTriplets()) {
        CountEntries(array);
    }
    context.budget.ChargeMemory(
        sizeof(MatArray) + array.name.size() + array.fields.size() * sizeof(std::string),
        "the list of variables");
    const std::size_t place = arrays.size();
    arrays.push_back(array);
    if (!array.problem.empty() || !array.HasElements()) {
        return 0;
    }
    if (const int failure = ListElementsOf(array, place, arrays)) {
        arrays[place].problem = "damaged";
        return failure;
    }
    return 0;
}

std::string Mat5Arrays::NameOfElement(const MatArray& array, std::uint64_t place) const {
    if (!array.HasFields()) {
        return array.name + "{" + array.SubscriptsOf(place) + "}";
    }
    const std::uint64_t fields = array.fields.size();
    const std::string& field = array.fields[static_cast<std::size_t>(place % fields)];
    if (array.Count() == 1) {
        return array.name + "." + field;
    }
    return array.name + "(" + array.SubscriptsOf(place / fields) + ")." + field;
}

// What a single cell can hold stands in the table of the array around it; the fields of a single structure
// are listed all the same.
int Mat5Arrays::ListElementsOf(const MatArray& array, std::size_t place, std::vector<MatArray>& arrays) {
    const bool isSingle = array.HasFields() && array.Count() == 1;
    return ForEachElement(array, [&](std::uint64_t number, const MatArray& element) {
        const bool fits = element.FitsACell();
        arrays[place].numbers += fits && element.IsNumeric() ? element.Count() : 0;
        if (fits && !isSingle) {
            return 0;
        }
        MatArray inner = element;
        inner.name = NameOfElement(array, number);
        inner.depth = array.depth + 1;
        return ListArray(std::move(inner), arrays);
    });
}

std::uint64_t Mat5Arrays::EndOf(const MatArray& array) const {
    const auto longer = longerEnds.find({array.element, array.position});
    return longer == longerEnds.end() ? array.end : longer->second;
}

// Some programs count fewer bytes for a cell array than its elements have: the elements' own sizes hold.
int Mat5Arrays::ForEachElement(const MatArray& array, const Visit& visit) {
    StreamAt(array);
    const std::uint64_t each = array.HasFields() ? array.fields.size() : 1;
    if (each == 0) {
        return 0;
    }
    for (std::uint64_t i = 0; i < array.Count(); ++i) {
        context.ThrowIfStopped();
        for (std::uint64_t field = 0; field < each; ++field) {
            MatArray element;
            if (!ReadElementHead(element)) {
                return MatFile::StatusCorrupt;
            }
            if (const int failure = visit(i * each + field, element)) {
                return failure;
            }
            const std::uint64_t end = EndOf(element);
            if (stream->Tell() > end || openElement != array.element) {
                OpenElement(array.element);
            }
            if (!stream->Skip(end - stream->Tell())) {
                return MatFile::StatusCorrupt;
            }
            stream->Align(TagSize);
        }
    }
    if (stream->Tell() > array.end) {
        longerEnds[{array.element, array.position}] = stream->Tell();
    }
    return 0;
}

std::uint64_t Mat5Arrays::BytesLeft(const MatArray& array) const {
    return array.end > stream->Tell() ? array.end - stream->Tell() : 0;
}

int Mat5Arrays::OpenNumbers(const MatArray& array, MatNumbers& numbers) {
    MatTag tag;
    if (!Reader().ReadTag(tag) || tag.size > BytesLeft(array)) {
        return MatFile::StatusCorrupt;
    }
    if (WidthOf(tag.type) == 0) {
        return MatFile::StatusDataType;
    }
    numbers = MatNumbers(*stream, tag.type, tag.size / WidthOf(tag.type), swap);
    numbersEnd = stream->Tell() + tag.size;
    numbersAlignment = tag.alignment;
    return 0;
}

int Mat5Arrays::OpenReal(const MatArray& array, MatNumbers& numbers) {
    StreamAt(array);
    return OpenNumbers(array, numbers);
}

int Mat5Arrays::OpenImaginary(const MatArray& array, MatNumbers& numbers) {
    if (stream->Tell() > numbersEnd || !stream->Skip(numbersEnd - stream->Tell())) {
        return MatFile::StatusCorrupt;
    }
    stream->Align(numbersAlignment);
    return OpenNumbers(array, numbers);
}

// An entry is made of a row of four bytes and a value of at least one; where columns begin takes four a
// column, and each of these is there twice while it is read.
std::uint64_t Mat5Arrays::RoomForEntries(const MatArray& array) const {
    constexpr std::uint64_t TimesItsBytes = 8;
    return TimesItsBytes * (array.end - std::min(array.end, array.position));
}

// The rows of the entries, where each column's entries begin, and the values.
int Mat5Arrays::ReadSparse(const MatArray& array, std::vector<MatEntry>& entries) {
    std::vector<std::int32_t> rows;
    std::vector<std::int32_t> starts;
    StreamAt(array);
    if (array.dimensions.size() != 2 || !Reader().ReadIntegers(rows) || !Reader().ReadIntegers(starts) ||
        starts.size() <= array.Columns() || starts.front() != 0) {
        return MatFile::StatusCorrupt;
    }
    const std::int32_t count = starts[static_cast<std::size_t>(array.Columns())];
    if (count < 0 || static_cast<std::size_t>(count) > rows.size()) {
        return MatFile::StatusCorrupt;
    }
    entries.resize(static_cast<std::size_t>(count));
    std::size_t entry = 0;
    for (std::uint32_t column = 0; column < array.Columns(); ++column) {
        const std::int32_t last = starts[column + 1];
        if (last < static_cast<std::int32_t>(entry) || last > count) {
            return MatFile::StatusCorrupt;
        }
        for (; entry < static_cast<std::size_t>(last); ++entry) {
            const std::int32_t row = rows[entry];
            if (row < 0 || static_cast<std::uint64_t>(row) >= array.Rows()) {
                return MatFile::StatusCorrupt;
            }
            entries[entry].column = column;
            entries[entry].row = static_cast<std::uint32_t>(row);
        }
    }
    std::vector<double> values(entries.size());
    for (const bool imaginary : {false, true}) {
        if (imaginary && !array.isComplex) {
            break;
        }
        MatNumbers numbers;
        const int failure = imaginary ? OpenImaginary(array, numbers) : OpenNumbers(array, numbers);
        if (failure != 0) {
            return failure;
        }
        if (numbers.GetCount() < values.size() || !numbers.Read(values)) {
            return MatFile::StatusCorrupt;
        }
        for (std::size_t i = 0; i < values.size(); ++i) {
            (imaginary ? entries[i].imaginary : entries[i].real) = values[i];
        }
    }
    return 0;
}

bool Mat5Arrays::IsSoundToTheEnd(const MatArray& array) {
    // An array in another may be followed by gigabytes that aren't asked for.
    return stream == nullptr || openElement != array.element || array.depth > 0 || stream->IsSoundToTheEnd();
}

std::vector<FileContents::Fact> Mat5Arrays::ListFacts() const {
    std::string_view text = TextAt(bytes, 0, TextSize);
    text = TrimSpace(text.substr(0, text.find('\0')));
    std::vector<FileContents::Fact> facts{{"version", "MAT-file level 5"},
                                          {"byte order", swap ? "big-endian" : "little-endian"},
                                          {"header", std::string(text)}};
    if (const std::string_view platform = Following(text, "Platform:"); !platform.empty()) {
        facts.emplace_back("platform", std::string(platform));
    }
    std::string_view created = Following(text, "Created on:");
    if (const std::size_t octave = text.find("written by Octave"); octave != std::string_view::npos) {
        facts.emplace_back("program", std::string(Following(text, "written by")));
        created = text.substr(std::min(text.size(), text.find(',', octave)));
        created.remove_prefix(created.empty() ? 0 : 1);
    } else if (const std::size_t by = text.find("Created by:"); by != std::string_view::npos) {
        const std::string_view program = Following(text, "Created by:");
        const std::size_t on = program.find(" on ");
        facts.emplace_back("program", std::string(program.substr(0, on)));
        created = on == std::string_view::npos ? std::string_view() : program.substr(on + 4);
    }
    if (const std::string time = IsoTime(created); !time.empty()) {
        facts.emplace_back("created", time);
    }
    return facts;
}
