#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/** The types of a level 5 file's data elements, by which numbers of either level are known here. */
enum MatDataType : std::uint32_t {
    MatInt8 = 1,
    MatUInt8 = 2,
    MatInt16 = 3,
    MatUInt16 = 4,
    MatInt32 = 5,
    MatUInt32 = 6,
    MatSingle = 7,
    MatDouble = 9,
    MatInt64 = 12,
    MatUInt64 = 13,
    MatMatrix = 14,
    MatCompressed = 15,
    MatUtf8 = 16,
    MatUtf16 = 17,
    MatUtf32 = 18
};

/** The width of a number of a type in bytes; 0 for what is no number. */
std::size_t WidthOf(std::uint32_t dataType);

/** An array of a MAT-file, of either level: what it is and where its content stands. */
struct MatArray {
    /** The classes of a level 5 file. */
    enum Type : std::uint8_t {
        Cell = 1,
        Structure,
        Object,
        Characters,
        Sparse,
        Double,
        Single,
        Int8,
        UInt8,
        Int16,
        UInt16,
        Int32,
        UInt32,
        Int64,
        UInt64,
        Function,
        Opaque
    };

    std::string name; /**< of an inner one with its way there: "S.f", "C{2,3}" */
    std::uint8_t type = Double;
    bool isComplex = false;
    bool isLogical = false;
    std::vector<std::uint64_t> dimensions; /**< at least two */
    std::vector<std::string> fields;       /**< of a structure or object */
    std::string className;                 /**< of an object */
    std::uint64_t entries = 0;             /**< of a sparse one that is given as triplets */
    std::uint64_t numbers = 0;             /**< how many cells of its table are numbers */
    int depth = 0;                         /**< how many arrays it lies in */

    /** Why it can't be read, with the status that tells so; empty for one that can. */
    std::string problem;
    int problemStatus = 0;

    std::size_t element = 0;    /**< the element of the file that it lies in, from 0 */
    std::uint64_t position = 0; /**< of its content in that element, or in the file */
    std::uint64_t end = 0;      /**< behind its last byte */

    bool IsNumeric() const { return type >= Double && type <= UInt64; }
    bool HasElements() const { return type == Cell || HasFields(); }
    bool HasFields() const { return type == Structure || type == Object; }
    bool IsEmpty() const { return Count() == 0; }
    /** A real number, a truth value, a text or nothing: what a single cell can hold. */
    bool FitsACell() const;
    /** A sparse matrix whose table would be out of all proportion is given by its entries. */
    bool IsGivenAsTriplets() const;

    std::uint64_t Rows() const { return dimensions.empty() ? 0 : dimensions[0]; }
    /** The product of all sizes but the first; at its largest where it overflows. */
    std::uint64_t Columns() const;
    std::uint64_t Count() const;

    /** "double", "sparse", "struct" ... */
    std::string TypeName() const;
    /** "3x4" */
    std::string SizeText() const;
    /** The subscripts of an element by its place from 0: "2,3"; of a vector as well. */
    std::string SubscriptsOf(std::uint64_t place) const;
    /** The subscripts of a column of the table: "(:,2,3)". */
    std::string ColumnHead(std::uint64_t column) const;
};
