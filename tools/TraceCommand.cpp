#include <iostream>

#include "frame/ImportHelperBase.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "karta/internal/FormatDetection.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/KeptOptions.h"
#include "tools/TableRead.h"
#include "tools/TraceRead.h"
#include "tools/TraceSink.h"

namespace {

/** A driver whose messages are lines of the trace. */
class TraceDriver : public ImportHelperBase {
public:
    TraceDriver(ImportDLLLoader* formats, const std::string& plugins)
        : ImportHelperBase(formats, plugins.c_str()) {}

protected:
    int PutMsg1(const char* text, const char* /*caption*/, MessageType /*type*/, int defaultAnswer) override {
        std::cout << "Warning " << QuoteForTrace(text) << '\n';
        return defaultAnswer;
    }
};

// Without a format the driver has all its checks to make, and detects.
constexpr int AllFiles = 1;

bool TraceDriverRead(FormatCatalogue& formats, int format, OptionsRecord& options,
                     const ReadRequest& request) {
    TraceDriver driver(new FormatCatalogue, request.plugins);
    TraceSink sink(std::cout, RowFilter(request.want));
    const bool success =
        driver.ReadSpreadsheetFile(request.Selection().c_str(), format == 0 ? AllFiles : format, &sink,
                                   options.Get(), format != 0, nullptr);
    if (!success) {
        std::cout << "Error " << QuoteForTrace(driver.GetErrorMessage()) << '\n';
    }
    std::cout << "Driver " << (success ? "true" : "false") << '\n';
    if (success) {
        const int read =
            format != 0 ? format : formats.GetSpreadsheetFileIndex(request.files.front().c_str());
        SaveOptionsAfterDriver(request, options, formats.IsOwn(read));
    }
    return success;
}

bool TraceDirectRead(const FormatCatalogue& formats, int format, OptionsRecord& options,
                     const ReadRequest& request) {
    const auto reader = MakeReader(formats, format, request);
    const std::string selection = request.Selection();
    SpreadsheetOpenOptions kept(nullptr);
    const TracedRead read{formats.GetInfo(format)->formatName, selection.c_str(), options.Get(),
                          RowFilter(request.want), options.GetSelectedPart(), [&] { kept = options.Get(); },
                          // A module's reader knows the classic life only.
                          request.IsComplete() && formats.IsOwn(format)};
    const bool success = TraceRead(*reader, read, std::cout);
    if (const NvImportOpenOptions* choices = kept) {
        SaveOptions(request, *choices, formats.IsOwn(format));
    }
    return success;
}

// With a format named, any name is the reader's to judge, also that of a file that isn't there. Without
// one, what the driver says of a selection is part of its trace; 0 leaves the choice to it.
int ChooseTracedFormat(FormatCatalogue& formats, const ReadRequest& request) {
    CheckKinds(request);
    if (const int named = FindNamedFormat(formats, request)) {
        return named;
    }
    if (request.throughDriver && !OptionsRecord::NeedsParts(request)) {
        CheckNames(request);
        return 0;
    }
    CheckFiles(request);
    const FormatFinding finding = FormatDetection(formats).Detect(request.files.front(), request.reading);
    if (finding.format == 0) {
        throw Failure(request.files.front() + ": " + ReasonOf(finding));
    }
    CheckSelection(formats, finding.format, request);
    return finding.format;
}

}  // namespace

int RunTrace(const ReadRequest& request) {
    CheckRoad(request);
    AnswerQuestions(request);
    const auto formats = LoadFormats(request);
    const int format = ChooseTracedFormat(*formats, request);
    OptionsRecord options = MakeOptions(*formats, format, request, Unopened::HasNoParts);
    const bool success = request.throughDriver ? TraceDriverRead(*formats, format, options, request)
                                               : TraceDirectRead(*formats, format, options, request);
    Interrupt::ThrowIfRequested();
    return success ? ExitSuccess : ExitFailed;
}
