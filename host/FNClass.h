#pragma once

#include <string>
#include <string_view>

/** Splits a path into its folder (with the separator), title and extension (with the dot). */
class FNClass {
public:
    FNClass() = default;
    explicit FNClass(std::string_view path) { Split(path); }

    void Split(std::string_view path);
    /** The three parts joined again. */
    std::string Merge() const { return folder + title + extension; }
    /** Title and extension, without the folder. */
    std::string GetNameAndExt() const { return title + extension; }

    std::string folder;
    std::string title;
    std::string extension;
};
