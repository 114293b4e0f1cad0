#include "karta/Read.h"

namespace karta {

Table Read(const std::string& path, const ReadOptions& options) {
    return Reader(path, options).Read();
}

Table Read(const std::vector<std::string>& paths, const ReadOptions& options) {
    return Reader(paths, options).Read();
}

}  // namespace karta
