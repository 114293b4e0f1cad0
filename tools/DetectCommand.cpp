#include <iostream>
#include <vector>

#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/TableRead.h"

namespace {

const char* VerdictName(int verdict) {
    switch (verdict) {
        case 2:
            return "yes";
        case 1:
            return "maybe";
        default:
            return "no";
    }
}

}  // namespace

int RunDetect(const ReadRequest& request, bool json) {
    CheckFiles(request);
    const auto formats = LoadFormats(request);
    // As the driver does it, a selection is judged by its first file.
    const char* file = request.files.front().c_str();
    const std::vector<int> verdicts = formats->GetVerdicts(file);
    const int chosen = formats->ChooseByVerdicts(file, verdicts);
    const char* name = chosen < 1 ? "none" : formats->GetInfo(chosen)->formatName;
    JsonWriter writer(std::cout);
    if (json) {
        writer.BeginObject();
        writer.BeginArray("verdicts");
    }
    for (int i = 1; i <= formats->SizeInfos(); ++i) {
        const char* verdict = VerdictName(verdicts[static_cast<std::size_t>(i) - 1]);
        if (json) {
            writer.BeginObject();
            writer.Put("verdict", verdict);
            writer.Put("formatName", formats->GetInfo(i)->formatName);
            writer.EndObject();
        } else {
            std::cout << verdict << '\t' << formats->GetInfo(i)->formatName << '\n';
        }
    }
    if (json) {
        writer.EndArray();
        writer.Put("chosen", name);
        writer.EndObject();
    } else {
        std::cout << "chosen\t" << name << '\n';
    }
    return chosen < 1 ? ExitFailed : ExitSuccess;
}
