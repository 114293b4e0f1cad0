#include "karta/Detect.h"

#include "base/Unicode.h"
#include "karta/internal/FormatDetection.h"
#include "karta/internal/Selection.h"

namespace karta {

Detection Detect(const std::string& path, const DetectOptions& options) {
    CheckFiles({path});
    const auto formats = LoadFormats(options.plugins);
    FormatFinding finding = FormatDetection(*formats).DetectForUser(path, options.reading);
    Detection detection;
    detection.reason = AsUtf8(finding.reason);
    if (finding.format != 0) {
        detection.format = formats->GetInfo(finding.format)->formatName;
        detection.shortName = formats->GetShortName(finding.format);
    }
    for (int i = 1; i <= formats->SizeInfos(); ++i) {
        const auto place = static_cast<std::size_t>(i) - 1;
        detection.verdicts.push_back({formats->GetInfo(i)->formatName,
                                      static_cast<Verdict>(finding.verdicts[place]), finding.reasons[place]});
    }
    return detection;
}

}  // namespace karta
