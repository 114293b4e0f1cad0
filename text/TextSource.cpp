#include "text/TextSource.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>
#include <vector>

#include "base/OrderedWork.h"
#include "base/PathNames.h"
#include "base/SideBySide.h"
#include "base/Unicode.h"

namespace {

// How much of a file is looked at before it is clear that all of it is wanted.
constexpr std::size_t BeginningSize = 1 << 20;
// What is looked at before it may be let go of, and how large a text is kept in memory all the same.
constexpr std::size_t PieceToExamine = std::size_t{1} << 20;
constexpr std::size_t PiecesAtOnce = 8;
constexpr unsigned int MostThreads = 8;
constexpr std::size_t LargestKept = std::size_t{32} << 20;
constexpr std::size_t BinaryWindow = std::size_t{64} << 10U;
// A text may hold this share of bytes that no text has, and this many of them whatever its size.
constexpr std::size_t LeastTextShare = 10;
constexpr std::size_t FewControls = 16;

constexpr char EndOfFileMark = 0x1a;

struct Foreign {
    std::string_view signature;
    const char* what;
};
constexpr std::array<Foreign, 7> ForeignFiles = {{{"\x1f\x8b", "a gzip file; unpack it first"},
                                                  {"PK\x03\x04", "a zip file; unpack it first"},
                                                  {"PK\x05\x06", "an empty zip file"},
                                                  {"BZh", "a bzip2 file; unpack it first"},
                                                  {"\xfd"
                                                   "7zXZ",
                                                   "an xz file; unpack it first"},
                                                  {"\x28\xb5\x2f\xfd", "a Zstandard file; unpack it first"},
                                                  {"%PDF-", "a PDF file"}}};

bool IsOfNoText(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != '\v' && c != 0x1b;
}

bool IsBinary(std::string_view head) {
    const auto controls = static_cast<std::size_t>(std::count_if(head.begin(), head.end(), IsOfNoText));
    return controls > FewControls && controls * LeastTextShare > head.size();
}

}  // namespace

void TextSource::Open(const char* path, const std::optional<std::string>& encodingName,
                      karta::ReadContext& context) {
    Close();
    file = MappedFile(path);
    if (!file.IsOpen()) {
        throw std::runtime_error("Failed to open stream for reading.");
    }
    bytes = {reinterpret_cast<const char*>(file.GetBytes().data()), file.GetBytes().size()};
    RefuseForeign(path);
    isNamed = encodingName.has_value();
    const std::string_view head = bytes.substr(0, BeginningSize);
    encoding =
        isNamed ? GetNamedEncoding(*encodingName, head) : GuessEncoding(head, bytes.size() > head.size());
    if (encoding.IsScannedInPlace() && IsBinary(bytes.substr(0, BinaryWindow))) {
        throw Refused(NvGetFileName(path) + " appears to be a binary file; only text can be read");
    }
    TakeBytes(context);
    if (bytes.size() <= BeginningSize) {
        ExamineWhole(context);
    } else if (text.substr(0, BeginningSize).find('\0') != std::string_view::npos) {
        DropNuls(context);
    }
}

void TextSource::Close() {
    *this = TextSource();
}

void TextSource::RefuseForeign(const char* path) const {
    for (const Foreign& foreign : ForeignFiles) {
        if (bytes.starts_with(foreign.signature)) {
            throw Refused(NvGetFileName(path) + " is " + foreign.what);
        }
    }
}

// The text of the bytes, by the encoding.
void TextSource::TakeBytes(karta::ReadContext& context) {
    const std::string_view content = bytes.substr(encoding.markLength);
    if (encoding.IsScannedInPlace()) {
        text = content;
    } else {
        context.budget.ChargeMemory(2 * content.size(), "the text in UTF-8");
        decoded = DecodeText(content, encoding, undecodable);
        text = decoded;
        isKnownUtf8 = true;
    }
    hasEndMark = text.ends_with(EndOfFileMark);
    text.remove_suffix(hasEndMark ? 1 : 0);
}

void TextSource::DropNuls(karta::ReadContext& context) {
    if (text.find('\0') == std::string_view::npos) {
        return;
    }
    const auto found = static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\0'));
    context.budget.ChargeMemory(text.size(), "the text without NULs");
    nuls += found;
    std::string clean;
    clean.reserve(text.size());
    std::copy_if(text.begin(), text.end(), std::back_inserter(clean), [](char c) { return c != '\0'; });
    decoded = std::move(clean);
    text = decoded;
}

// In large pieces of whole lines on all cores, each let go of behind the look. `otherPiece` is the first one
// that isn't UTF-8.
ByteFacts TextSource::ExamineInPieces(std::string_view& otherPiece, const karta::ReadContext& context) const {
    ByteFacts all;
    std::vector<std::string_view> pieces;
    std::vector<ByteFacts> facts;
    for (std::size_t place = 0; place < text.size();) {
        pieces.clear();
        // Where the next one begins is looked for at its place: not too far ahead of what lets go of it.
        while (place < text.size() && pieces.size() < PiecesAtOnce) {
            const std::size_t feed = text.find('\n', std::min(place + PieceToExamine, text.size()));
            const std::size_t end = feed == std::string_view::npos ? text.size() : feed + 1;
            pieces.push_back(text.substr(place, end - place));
            place = end;
        }
        facts.assign(pieces.size(), {});
        karta::DoSideBySide(
            pieces.size(), std::min(karta::ChooseThreadCount(context.threads, pieces.size()), MostThreads),
            [&](std::size_t i) {
                context.ThrowIfStopped();
                facts[i] = ExamineBytes(pieces[i]);
                if (text.size() > LargestKept) {
                    const auto begin = static_cast<std::size_t>(pieces[i].data() - text.data());
                    LetGo(begin, begin + pieces[i].size());
                }
            },
            [&] { context.ThrowIfStopped(); });
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (all.areUtf8 && !facts[i].areUtf8) {
                otherPiece = pieces[i];
            }
            all.areUtf8 = all.areUtf8 && facts[i].areUtf8;
            all.holdNuls = all.holdNuls || facts[i].holdNuls;
        }
    }
    return all;
}

bool TextSource::ExamineWhole(karta::ReadContext& context) {
    if (isExamined) {
        return false;
    }
    isExamined = true;
    std::string_view otherPiece;
    const ByteFacts facts = ExamineInPieces(otherPiece, context);
    bool isOther = facts.holdNuls;
    if (facts.holdNuls) {
        DropNuls(context);
    }
    if (encoding.kind == TextEncoding::Utf8) {
        isKnownUtf8 = facts.areUtf8;
        if (!isKnownUtf8 && !isNamed && encoding.markLength == 0) {
            encoding = GuessEncoding(otherPiece, false);
            isOther = true;
        }
    }
    return isOther;
}

// Nothing but NULs behind the beginning would make it the whole text.
std::size_t TextSource::GetPlainBeginning() const {
    const bool mayBe = !isExamined && encoding.kind == TextEncoding::Utf8 && text.size() > BeginningSize &&
                       text.back() != '\0' && IsPlain(text.substr(0, BeginningSize));
    return mayBe ? BeginningSize : 0;
}

void TextSource::LetGo(std::size_t begin, std::size_t end) const {
    if (decoded.empty()) {
        file.LetGo(encoding.markLength + begin, encoding.markLength + end);
    }
}

std::string TextSource::GetBeginning(std::size_t characters, bool& isCut) const {
    std::string_view beginning = text.substr(0, characters);
    std::string converted;
    if (encoding.kind == TextEncoding::Windows1252) {
        AppendWindows1252(converted, beginning);
    } else {
        // What is ASCII has a byte a character.
        std::size_t end = !IsAscii(beginning) ? 0 : beginning.size();
        for (std::size_t count = end; count < characters && end < text.size(); ++count) {
            end += std::max<std::size_t>(GetUtf8Length(text.substr(end)), 1);
        }
        beginning = text.substr(0, end);
        converted = beginning;
    }
    isCut = beginning.size() < text.size();
    return converted;
}

std::string_view TextSource::ToUtf8(std::string_view field, std::string& storage) {
    if (isKnownUtf8) {
        return field;
    }
    const bool hasNuls = !isExamined && field.find('\0') != std::string_view::npos;
    const bool isOther = !IsAscii(field) && (encoding.kind == TextEncoding::Windows1252 || !IsUtf8(field));
    if (!hasNuls && !isOther) {
        return field;
    }
    std::string clean;
    if (hasNuls) {
        nuls += static_cast<std::uint64_t>(std::count(field.begin(), field.end(), '\0'));
        std::copy_if(field.begin(), field.end(), std::back_inserter(clean), [](char c) { return c != '\0'; });
        field = clean;
    }
    std::string converted;
    if (isOther) {
        fieldsOfOtherBytes += encoding.kind == TextEncoding::Utf8 ? 1 : 0;
        AppendWindows1252(converted, field);
    } else {
        converted = field;
    }
    storage = std::move(converted);
    return storage;
}

void TextSource::AddNotes(karta::Notes& notes) const {
    if (encoding.kind == TextEncoding::Windows1252 && !isNamed) {
        notes.Add({"assumed-encoding", 1, "",
                   "the text isn't UTF-8 and was read as Windows-1252; --encoding names another"});
    }
    if (fieldsOfOtherBytes > 0) {
        notes.Add({"not-utf-8", fieldsOfOtherBytes, "",
                   karta::CountOf(fieldsOfOtherBytes, "field") +
                       " with bytes that aren't UTF-8 were read as Windows-1252"});
    }
    if (undecodable > 0) {
        notes.Add({"no-characters", undecodable, "",
                   karta::CountOf(undecodable, "place") + " of the text stand for no character of " +
                       encoding.name + " and became U+FFFD"});
    }
    if (nuls > 0) {
        notes.Add({"dropped-nuls", nuls, "", karta::CountOf(nuls, "NUL") + " were left out of the text"});
    }
    if (hasEndMark) {
        notes.Add({"dropped-end-mark", 1, "", "the end-of-file mark (0x1A) at the text's end was left out"});
    }
}
