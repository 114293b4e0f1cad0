#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "container/MatArray.h"
#include "container/MatNumbers.h"
#include "frame/FileContents.h"

/** A value of a sparse matrix with its place, from 0. */
struct MatEntry {
    std::uint32_t column = 0;
    std::uint32_t row = 0;
    double real = 0;
    double imaginary = 0;
};

/**
 * The arrays of a MAT-file as it was written, a class a level: their list, and the way to their values, which
 * stand in streams. One array is read at a time, from front to end. Every operation that answers a number
 * gives 0 or one of MatFile's statuses.
 */
class MatArrays {
public:
    virtual ~MatArrays();

    /** All arrays in file order, an inner one behind the one that it lies in. */
    virtual int List(std::vector<MatArray>& arrays) = 0;

    /** The numbers or characters of an array, of which there are at least as many as bytes are left for. */
    virtual int OpenReal(const MatArray& array, MatNumbers& numbers) = 0;
    /** The imaginary parts, once the real ones have been read. */
    virtual int OpenImaginary(const MatArray& array, MatNumbers& numbers) = 0;
    /** At most how much memory the entries of a sparse matrix take while they are read, in bytes. */
    virtual std::uint64_t RoomForEntries(const MatArray& array) const = 0;
    /** The entries of a sparse matrix, each within it, in no order. */
    virtual int ReadSparse(const MatArray& array, std::vector<MatEntry>& entries) = 0;

    /** Gets each element of a cell array or of structures, field by field, with its place from 0. A file
     * whose level has neither has none. */
    using Visit = std::function<int(std::uint64_t place, const MatArray& element)>;
    virtual int ForEachElement(const MatArray& array, const Visit& visit);

    /** Whether what stood behind the values just read is whole, as far as a check value tells. */
    virtual bool IsSoundToTheEnd(const MatArray& array);

    virtual std::vector<FileContents::Fact> ListFacts() const = 0;
    /** What the file holds beside its arrays, for notes; may be empty. */
    const std::vector<std::string>& GetRemarks() const { return remarks; }
    /** More than a status tells of a failed List; may be empty. */
    const std::string& GetFailure() const { return failure; }

protected:
    std::vector<std::string> remarks;
    std::string failure;
};
