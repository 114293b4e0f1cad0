#include "tools/ReadRequest.h"

std::string ReadRequest::Selection() const {
    std::string names;
    for (const std::string& file : files) {
        names += names.empty() ? file : "\n" + file;
    }
    return names;
}
