#include "host/FNClass.h"

#include "base/PathNames.h"

void FNClass::Split(std::string_view path) {
    const std::string name = NvGetFileName(path);
    folder = path.substr(0, path.size() - name.size());
    title = NvGetFileTitle(name);
    extension = name.substr(title.size());
}
