#include <iostream>

#include "frame/ImportHelperBase.h"
#include "frame/SpreadsheetOpenOptions.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
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

bool TraceDriverRead(int format, OptionsRecord& options, const ReadRequest& request) {
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
        options.SaveAfterDriver(request);
    }
    return success;
}

bool TraceDirectRead(const FormatCatalogue& formats, int format, OptionsRecord& options,
                     const ReadRequest& request) {
    const auto reader = MakeReader(formats, format, request);
    const std::string selection = request.Selection();
    SpreadsheetOpenOptions kept(nullptr);
    const TracedRead read{formats.GetInfo(format)->formatName,
                          selection.c_str(),
                          options.Get(),
                          RowFilter(request.want),
                          request.matrix,
                          [&] { kept = options.Get(); }};
    const bool success = TraceRead(*reader, read, std::cout);
    if (const NvImportOpenOptions* choices = kept) {
        OptionsRecord::Save(request, *choices);
    }
    return success;
}

// With a format named, any name is the reader's to judge, also that of a file that isn't there. Without
// one, what the driver says of a selection is part of its trace; 0 leaves the choice to it.
int ChooseTracedFormat(FormatCatalogue& formats, const ReadRequest& request) {
    if (!request.format.empty()) {
        return ChooseFormat(formats, request);
    }
    if (request.throughDriver && !OptionsRecord::NeedsParts(request)) {
        CheckNames(request);
        return 0;
    }
    CheckFiles(request);
    const int format = ChooseFormat(formats, request);
    CheckSelection(formats, format, request);
    return format;
}

}  // namespace

int RunTrace(const ReadRequest& request) {
    CheckRoad(request);
    AnswerQuestions(request);
    const auto formats = LoadFormats(request);
    const int format = ChooseTracedFormat(*formats, request);
    OptionsRecord options = MakeOptions(*formats, format, request, Unopened::HasNoParts);
    const bool success = request.throughDriver ? TraceDriverRead(format, options, request)
                                               : TraceDirectRead(*formats, format, options, request);
    if (Interrupt::IsRequested()) {
        throw Failure("interrupted", ExitInterrupted);
    }
    return success ? ExitSuccess : ExitFailed;
}
