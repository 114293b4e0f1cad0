#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/MappedFile.h"
#include "container/ClassicHeader.h"

/**
 * A netCDF file of the classic formats, mapped: its values are decoded straight from the file's bytes, so
 * that any number of threads can read, each its own files. What the netCDF library would do more (create
 * files, convert types with range checks) isn't needed where every value arrives as it is.
 */
class ClassicFile {
public:
    /** Check IsOpen afterwards. */
    explicit ClassicFile(const char* path);

    bool IsOpen() const { return isOpen; }
    /** Of a file that isn't open: up to which byte its header could be read. */
    std::uint64_t GetBrokenAt() const { return brokenAt; }
    /** The file isn't netCDF of the classic formats, but holds HDF5. */
    bool IsHDF5() const;
    /** Empty where the file isn't open. */
    const ClassicHeader& GetHeader() const { return header; }
    std::size_t GetFileSize() const { return file.GetBytes().size(); }

    /** Null when there is none of this name. */
    const ClassicVariable* FindVariable(std::string_view name) const;
    const ClassicAttribute* FindAttribute(std::string_view name) const;
    static const ClassicAttribute* FindAttribute(const ClassicVariable& variable, std::string_view name);
    /** The text of an attribute without blanks around it; empty when it isn't there or is no text. */
    std::string GetText(const ClassicAttribute* attribute) const;
    /** An attribute's numbers; none for a text. */
    static std::vector<double> GetNumbers(const ClassicAttribute* attribute);

    /** The number of values of a variable that the file has. */
    static std::uint64_t CountValues(const ClassicVariable& variable);

    /**
     * Values in the file's order from `first` on, which must be there (CountValues); of numeric types, of the
     * 64-bit ones rounded where a double can't hold them.
     */
    void Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count, double* values) const;
    void Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count, float* values) const;
    /** The bits of 64-bit integers of either kind. */
    void Read(const ClassicVariable& variable, std::uint64_t first, std::size_t count,
              std::uint64_t* values) const;
    /** Characters as they stand in the file. */
    std::string_view ReadText(const ClassicVariable& variable, std::uint64_t first, std::size_t count) const;

    /**
     * Text of a file as UTF-8, up to its first NUL; bytes that aren't UTF-8 are taken for Windows-1252 and
     * counted.
     */
    std::string Decode(std::string_view bytes) const;
    std::string Decode(const ClassicAttribute& attribute) const;
    std::uint64_t CountForeignTexts() const { return foreignTexts; }

private:
    template <class Value>
    void ReadAs(const ClassicVariable& variable, std::uint64_t first, std::size_t count, Value* values) const;
    const std::uint8_t* Locate(const ClassicVariable& variable, std::uint64_t index) const;

    MappedFile file;
    ClassicHeader header;
    bool isOpen = false;
    std::uint64_t brokenAt = 0;
    std::unordered_map<std::string_view, std::size_t> places;  // of the variables, by their names
    mutable std::uint64_t foreignTexts = 0;
};
