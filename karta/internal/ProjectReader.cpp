#include "karta/internal/ProjectReader.h"

#include "host/project/CompoundFileStreamSource.h"

namespace karta {

ProjectReader::ProjectReader(std::optional<std::string> password) {
    if (password) {
        ask = [known = std::move(*password)](const std::string&, int attempt) {
            return attempt == 0 ? std::optional(known) : std::nullopt;
        };
    }
}

bool ProjectReader::SetPassword(CompundFileBase& file, std::string& password) {
    for (int attempt = 0; ask; ++attempt) {
        const std::optional<std::string> answer = ask(file.GetFileName(), attempt);
        if (!answer) {
            break;
        }
        if (file.SetPassword(answer->c_str())) {
            password = *answer;
            isLocked = false;
            return true;
        }
    }
    isLocked = true;
    return false;
}

}  // namespace karta
