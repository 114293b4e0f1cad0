#include <iostream>

#include "frame/ImportHelperBase.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
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

bool TraceDriverRead(int format, OptionsRecord& options, const ReadRequest& request) {
    TraceDriver driver(new FormatCatalogue, request.plugins);
    TraceSink sink(std::cout, RowFilter(request.want));
    const bool success =
        driver.ReadSpreadsheetFile(request.Selection().c_str(), format, &sink, options.Get(), true, nullptr);
    if (!success) {
        std::cout << "Error " << QuoteForTrace(driver.GetErrorMessage()) << '\n';
    }
    std::cout << "Driver " << (success ? "true" : "false") << '\n';
    return success;
}

}  // namespace

int RunTrace(const ReadRequest& request) {
    AnswerQuestions(request);
    const auto formats = LoadFormats(request);
    // With a format named, any name is the reader's to judge, also that of a file that isn't there.
    if (request.format.empty()) {
        CheckFiles(request);
    }
    const int format = ChooseFormat(*formats, request);
    if (request.format.empty()) {
        CheckSelection(*formats, format, request);
    }
    OptionsRecord options = MakeOptions(*formats, format, request);
    bool success = false;
    if (request.throughDriver) {
        success = TraceDriverRead(format, options, request);
    } else {
        const auto reader = formats->MakeReader(format);
        const std::string selection = request.Selection();
        const TracedRead read{formats->GetInfo(format)->formatName, selection.c_str(), options.Get(),
                              RowFilter(request.want), request.matrix};
        success = TraceRead(*reader, read, std::cout);
    }
    return success ? ExitSuccess : ExitFailed;
}
