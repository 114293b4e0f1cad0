#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/**
 * One netCDF file of the classic formats, open for as long as the object lives: the only door to the
 * netCDF library. A file that doesn't open leaves the object closed, and then everything in it is missing.
 * What fails gives -1, false or nothing, as said below; the library never ends the process. Only when memory
 * has run out is bad_alloc raised.
 *
 * The library serves one thread at a time: every call of it is made under one lock, so that objects can be
 * used in any thread.
 *
 * Only sound files get to the library (IsSoundClassicFile), and only by an absolute path, which it can't take
 * for an address on a network.
 */
class NetCDF {
public:
    /** What a file is opened for; the two ways to create one are over an older file and only without one. */
    enum Mode { ModeRead = 1, ModeWrite = 2, ModeCreate = 3, ModeCreateNew = 4 };
    /** One number for each dimension of a variable. */
    using Index = std::span<const std::size_t>;

    /** Stands for the file itself where a variable is asked for: its global attributes. */
    static constexpr int Global = -1;

    explicit NetCDF(const char* path, Mode mode = ModeRead);
    NetCDF(const NetCDF&) = delete;
    NetCDF& operator=(const NetCDF&) = delete;
    ~NetCDF();

    bool IsOpen() const { return id != -1; }

    /** The number of a variable or a dimension; -1 when there is none of this name. */
    int FindVariable(const char* name) const;
    int FindDimension(const char* name) const;

    /**
     * The length of a dimension, -1 when there is none of this name. Nothing bears it out but the shapes of
     * the variables that have it.
     */
    std::int64_t GetDimension(const char* name) const;

    bool HasAttribute(int variable, const char* name) const;
    /** The attribute's text up to its first NUL; nothing when it isn't there or is no text. */
    std::optional<std::string> GetTextAttribute(int variable, const char* name) const;

    /** The lengths of a variable's dimensions, all borne out by the file; empty for a single value. */
    std::vector<std::size_t> GetShape(int variable) const;
    /** Whether a variable holds text. */
    bool IsText(int variable) const;
    /** How many bytes the file has; told where it was opened for reading or writing. */
    std::size_t GetFileSize() const { return fileSize; }

    /** The first, or only, value of a variable, converted; false when it is text or out of range. */
    bool GetFirst(int variable, float& value) const;

    /**
     * Reads `count` values a dimension from `start` on, converted to the type that is asked for, into
     * `values`, which must have room for all. A variable of fewer dimensions is read as long as the counts
     * that it has no dimension for are 1. 0, or -1 when a value is out of the type's range, text is asked
     * for as numbers or the reverse, or the variable's shape doesn't hold what is asked for.
     */
    int GetValues(int variable, Index start, Index count, unsigned char* values) const;
    int GetValues(int variable, Index start, Index count, short* values) const;
    int GetValues(int variable, Index start, Index count, int* values) const;
    int GetValues(int variable, Index start, Index count, float* values) const;
    int GetValues(int variable, Index start, Index count, double* values) const;
    int GetValues(int variable, Index start, Index count, char* values) const;

private:
    void Open(const std::string& name, Mode mode);
    bool Holds(int variable, Index start, Index count) const;
    template <class Value>
    int Get(int (*read)(int, int, const std::size_t*, const std::size_t*, Value*), int variable, Index start,
            Index count, Value* values) const;

    std::size_t fileSize = 0;
    int id = -1;
};
