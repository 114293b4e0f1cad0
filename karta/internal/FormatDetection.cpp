#include "karta/internal/FormatDetection.h"

#include <algorithm>
#include <utility>

#include "base/PathNames.h"
#include "karta/internal/FileHead.h"

namespace {

enum Verdict { VerdictNo = 0, VerdictMaybe = 1, VerdictYes = 2 };

constexpr const char* ProvedByContent = "proved by the content";
constexpr const char* NotProved = "the content doesn't prove it, and the name hasn't its extension";
constexpr const char* NotNamed = "the content can't prove it, and the name hasn't its extension";
constexpr const char* RuledOut = "ruled out by the content";
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

    /** The verdict and why. */
    std::pair<int, std::string> Judgement(int format, const std::string& reasonByExtension) const {
        if (formats.GetInfo(format)->canRead == 0) {
            return {VerdictNo, "it isn't read"};
        }
        const FormatRecogniser* recogniser = formats.GetRecogniser(format);
        const bool hasTest = recogniser != nullptr && recogniser->HasTest();
        if (hasTest &&
            recogniser->Recognise(file.c_str(), FirstBytes()) == FormatRecogniser::Evidence::Proof) {
            return {VerdictYes, ProvedByContent};
        }
        if (hasTest && reasonByExtension.empty()) {
            return {VerdictNo, NotProved};
        }
        if (recogniser != nullptr && !recogniser->CanProve() && reasonByExtension.empty()) {
            return {VerdictNo, NotNamed};
        }
        // This opens the file once more, which of many small ones is most of the work.
        const int classic = formats.GetVerdict(format, file.c_str());
        if (!hasTest && classic == VerdictYes) {
            return {VerdictYes, ProvedByContent};
        }
        if (reasonByExtension.empty()) {
            return {VerdictNo, NotNamed};
        }
        if (IsTextFormat(formats.GetInfo(format)->formatName)) {
            return head.IsText() ? std::pair(int{VerdictMaybe}, reasonByExtension)
                                 : std::pair(int{VerdictNo}, std::string("the content is no readable text"));
        }
        return classic != VerdictNo ? std::pair(int{VerdictMaybe}, reasonByExtension)
                                    : std::pair(int{VerdictNo}, std::string(RuledOut));
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
    return Detect(file, reading, Verdicts::OfAll);
}

FormatFinding FormatDetection::Detect(const std::string& file, karta::Reading reading, Verdicts wanted) {
    return reading == karta::Reading::Complete ? DetectCompletely(file, wanted) : DetectClassically(file);
}

FormatFinding FormatDetection::DetectForUser(const std::string& file, karta::Reading reading,
                                             Verdicts wanted) {
    FormatFinding finding = Detect(file, reading, wanted);
    if (finding.format != 0 && finding.reason.empty()) {
        finding.format = 0;
        TellUndetermined(file, finding);
    }
    return finding;
}

FormatFinding FormatDetection::DetectClassically(const std::string& file) {
    FormatFinding finding;
    finding.verdicts = formats.GetVerdicts(file.c_str());
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        const int verdict = finding.verdicts[static_cast<std::size_t>(i) - 1];
        finding.reasons.emplace_back(verdict == VerdictYes  ? ProvedByContent
                                     : verdict == VerdictNo ? RuledOut
                                                            : "not ruled out by the content");
    }
    finding.format = std::max(formats.ChooseByVerdicts(file.c_str(), finding.verdicts), 0);
    if (finding.format == 0) {
        TellUndetermined(file, finding);
    } else if (finding.verdicts[static_cast<std::size_t>(finding.format) - 1] == VerdictYes) {
        finding.reason = ProvedByContent;
    } else {
        finding.reason = ReasonByExtension(finding.format, file);
    }
    return finding;
}

FormatFinding FormatDetection::DetectCompletely(const std::string& file, Verdicts wanted) {
    FormatFinding finding;
    const Judge judge(formats, file);
    bool isProved = false;
    for (int i = 1; i <= formats.SizeInfos() && !(isProved && wanted == Verdicts::UpToProof); ++i) {
        auto [verdict, reason] = judge.Judgement(i, ReasonByExtension(i, file));
        finding.verdicts.push_back(verdict);
        finding.reasons.push_back(std::move(reason));
        isProved = isProved || verdict == VerdictYes;
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
        finding.reasons.assign(finding.reasons.size(), std::string("the file is ") + foreign.name);
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
        finding.reasons[static_cast<std::size_t>(textFormat) - 1] = finding.reason;
    } else {
        TellUndetermined(file, finding);
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

void FormatDetection::TellUndetermined(const std::string& file, FormatFinding& finding) const {
    finding.reason = "The file type could not be determined: no format is proved by the content";
    const std::string extension = NvGetFileExtension(file);
    finding.reason += extension.empty() ? ", and the name has no extension."
                                        : ", and none with the extension ." + extension + " is possible.";
    finding.possible = formats.PossibleFormats(file);
    if (finding.possible.empty()) {
        finding.reason += " No format fits its content.";
    }
}
