#include <unistd.h>

#include <iostream>

#include "base/PathNames.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/TableRead.h"

namespace {

std::string Abilities(const NvImportFileFormatInfo& info) {
    std::string letters;
    letters += info.canRead != 0 ? "r" : "";
    letters += info.canWrite != 0 ? "w" : "";
    letters += info.canReadMany != 0 ? "m" : "";
    return letters;
}

void WriteLine(const FormatCatalogue& formats, int i) {
    std::string extensions;
    for (const std::string& extension : formats.Extensions(i)) {
        extensions += extensions.empty() ? extension : " " + extension;
    }
    std::cout << formats.GetInfo(i)->formatName << '\t' << extensions << '\t'
              << Abilities(*formats.GetInfo(i)) << '\t' << NvGetFileName(formats.GetModulePath(i)) << '\n';
}

void WriteJson(const FormatCatalogue& formats) {
    JsonWriter json(std::cout);
    json.BeginObject();
    json.BeginArray("formats");
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        const NvImportFileFormatInfo& info = *formats.GetInfo(i);
        json.BeginObject();
        json.Put("formatName", info.formatName);
        if (const FormatRecogniser* const recogniser = formats.GetRecogniser(i)) {
            json.Put("shortName", recogniser->GetShortName());
        }
        json.BeginArray("extensions");
        for (const std::string& extension : formats.Extensions(i)) {
            json.Put(extension);
        }
        json.EndArray();
        json.Put("canRead", info.canRead != 0);
        json.Put("canWrite", info.canWrite != 0);
        json.Put("canReadMany", info.canReadMany != 0);
        json.Put("module", NvGetFileName(formats.GetModulePath(i)));
        json.EndObject();
    }
    json.EndArray();
    json.EndObject();
}

}  // namespace

int RunFormats(const ReadRequest& request, bool json) {
    const auto formats = LoadFormats(request);
    if (json) {
        WriteJson(*formats);
        return ExitSuccess;
    }
    if (isatty(STDOUT_FILENO) != 0) {
        std::cout << "format\textensions\tabilities\tmodule\n";
    }
    for (int i = 1; i <= formats->SizeInfos(); ++i) {
        WriteLine(*formats, i);
    }
    return ExitSuccess;
}
