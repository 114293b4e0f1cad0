#include "tools/FormatDetection.h"

#include <algorithm>

#include "base/PathNames.h"
#include "tools/FileHead.h"

namespace {

enum Verdict { VerdictNo = 0, VerdictMaybe = 1, VerdictYes = 2 };

constexpr const char* ProvedByContent = "proved by the content";
constexpr const char* TextFormat = "Text File";
// Text by another name: its own rules of what text is are narrower than those of the complete reading.
constexpr const char* TextFormats[] = {TextFormat, "CSV File"};

bool IsTextFormat(const char* name) {
    return std::any_of(std::begin(TextFormats), std::end(TextFormats),
                       [&](const char* text) { return EqualIgnoringCase(text, name); });
}

/** One format's verdict on one file, in the complete way. */
class Judge {
public:
    Judge(const FormatCatalogue& knownFormats, const std::string& judgedFile)
        : formats(knownFormats), file(judgedFile), head(judgedFile) {}

    const FileHead& GetHead() const { return head; }

    int Verdict(int format, bool hasExtension) const {
        if (formats.GetInfo(format)->canRead == 0) {
            return VerdictNo;
        }
        const FormatRecogniser* recogniser = formats.GetRecogniser(format);
        const bool hasTest = recogniser != nullptr && recogniser->HasTest();
        if (hasTest &&
            recogniser->Recognise(file.c_str(), FirstBytes()) == FormatRecogniser::Evidence::Proof) {
            return VerdictYes;
        }
        const int classic = formats.GetVerdict(format, file.c_str());
        if (!hasTest && classic == VerdictYes) {
            return VerdictYes;
        }
        if (IsTextFormat(formats.GetInfo(format)->formatName)) {
            return hasExtension && head.IsText() ? VerdictMaybe : VerdictNo;
        }
        return hasExtension && classic != VerdictNo ? VerdictMaybe : VerdictNo;
    }

private:
    std::string_view FirstBytes() const { return head.GetBytes().substr(0, FormatRecogniser::HeadSize); }

    const FormatCatalogue& formats;
    const std::string& file;
    const FileHead head;
};

int FirstWith(const std::vector<int>& verdicts, int verdict) {
    const auto found = std::find(verdicts.begin(), verdicts.end(), verdict);
    return found == verdicts.end() ? 0 : static_cast<int>(found - verdicts.begin()) + 1;
}

std::string Refusal(const FileHead::Kind& kind) {
    std::string text = std::string("This is ") + kind.name + ", which isn't read";
    return *kind.advice == '\0' ? text + "." : text + "; " + kind.advice + ".";
}

}  // namespace

FormatFinding FormatDetection::Detect(const std::string& file, karta::Reading reading) {
    return reading == karta::Reading::Complete ? DetectCompletely(file) : DetectClassically(file);
}

FormatFinding FormatDetection::DetectForUser(const std::string& file, karta::Reading reading) {
    FormatFinding finding = Detect(file, reading);
    if (finding.format != 0 && finding.reason.empty()) {
        finding.format = 0;
        finding.reason = WhyUndetermined(file);
    }
    return finding;
}

FormatFinding FormatDetection::DetectClassically(const std::string& file) {
    FormatFinding finding;
    finding.verdicts = formats.GetVerdicts(file.c_str());
    finding.format = std::max(formats.ChooseByVerdicts(file.c_str(), finding.verdicts), 0);
    if (finding.format == 0) {
        finding.reason = WhyUndetermined(file);
    } else if (finding.verdicts[static_cast<std::size_t>(finding.format) - 1] == VerdictYes) {
        finding.reason = ProvedByContent;
    } else {
        finding.reason = ReasonByExtension(finding.format, file);
    }
    return finding;
}

FormatFinding FormatDetection::DetectCompletely(const std::string& file) {
    FormatFinding finding;
    const Judge judge(formats, file);
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        finding.verdicts.push_back(judge.Verdict(i, !ReasonByExtension(i, file).empty()));
    }
    const int textFormat = formats.FindFormat(TextFormat);
    finding.format = FirstWith(finding.verdicts, VerdictYes);
    if (finding.format != 0) {
        finding.reason = ProvedByContent;
        return finding;
    }
    const FileHead::Kind foreign = judge.GetHead().GetForeignKind();
    if (foreign.name != nullptr && foreign.isCertain) {
        finding.verdicts.assign(finding.verdicts.size(), VerdictNo);
        finding.reason = Refusal(foreign);
        return finding;
    }
    finding.format = FirstWith(finding.verdicts, VerdictMaybe);
    if (finding.format != 0) {
        // Of several formats with this extension a text is the text file's: the others would have proved it.
        if (textFormat != 0 && finding.verdicts[static_cast<std::size_t>(textFormat) - 1] == VerdictMaybe) {
            finding.format = textFormat;
        }
        finding.reason = ReasonByExtension(finding.format, file);
        return finding;
    }
    if (foreign.name != nullptr) {
        finding.reason = Refusal(foreign);
    } else if (textFormat != 0 && judge.GetHead().IsText()) {
        finding.format = textFormat;
        finding.verdicts[static_cast<std::size_t>(textFormat) - 1] = VerdictMaybe;
        finding.reason = "readable text, which no format proves or has the extension of";
    } else {
        finding.reason = WhyUndetermined(file);
    }
    return finding;
}

// Empty where the file hasn't the format's extension.
std::string FormatDetection::ReasonByExtension(int format, const std::string& file) const {
    std::vector<std::string> extensions = formats.Extensions(format);
    if (const FormatRecogniser* recogniser = formats.GetRecogniser(format)) {
        const std::vector<std::string>& further = recogniser->GetExtensions();
        extensions.insert(extensions.end(), further.begin(), further.end());
    }
    const std::string wanted = "." + NvGetFileExtension(file);
    for (const std::string& extension : extensions) {
        if (wanted.size() > 1 && EqualIgnoringCase(extension, wanted)) {
            return "possible by the content, chosen by the extension " + extension;
        }
    }
    return {};
}

std::string FormatDetection::WhyUndetermined(const std::string& file) const {
    std::string text = "The file type could not be determined: no format is proved by the content";
    const std::string extension = NvGetFileExtension(file);
    text += extension.empty() ? ", and the name has no extension."
                              : ", and none with the extension ." + extension + " is possible.";
    const std::vector<std::string> possible = formats.PossibleFormats(file);
    if (possible.empty()) {
        return text + " No format fits its content.";
    }
    text += " Name it with --format. These may fit:";
    for (const std::string& name : possible) {
        text += "\n  " + name;
    }
    return text;
}
