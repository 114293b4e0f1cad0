#pragma once

#include <memory>
#include <string>
#include <utility>

/**
 * Opens files by their paths; one that an operation holds open already is lent in place of a second opening,
 * for as long as the operation holds it.
 */
template <class File>
class LentFile {
public:
    void Lend(std::string filePath, const std::shared_ptr<const File>& opened) {
        path = std::move(filePath);
        file = opened;
    }

    /** Never null; check IsOpen. */
    std::shared_ptr<const File> Open(const std::string& wanted) const {
        std::shared_ptr<const File> lent = wanted == path ? file.lock() : nullptr;
        return lent != nullptr ? lent : std::make_shared<const File>(wanted.c_str());
    }

private:
    std::string path;
    std::weak_ptr<const File> file;
};
