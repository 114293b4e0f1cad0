#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/ReadContext.h"
#include "container/ClassicFile.h"
#include "container/ClassicValues.h"
#include "frame/FileContents.h"

class CellOutput;

/**
 * A netCDF file as tables, whatever convention it follows: the variables of one dimension together, a column
 * each and the coordinate variable first; each variable of more dimensions by itself, with the coordinates of
 * its dimensions as names; and what has no dimension, with all attributes, as one table of names and values.
 *
 * Every table has its names in row 1. A table of several dimensions has a row for each step of the first one
 * and a column for each of the others, the last running fastest.
 */
class ClassicTables {
public:
    /** Conventions name some tables, order their columns, and add one. */
    enum Convention { Plain, Chromatogram, MassSpectra };

    /** One table. */
    struct Table {
        enum Kind { Columns, Matrix, Attributes, Spectra };
        Kind kind = Columns;
        FileContents::Part part;
        std::vector<std::size_t> variables; /**< places in the header's list; of a matrix one */
        std::uint64_t numbers = 0;          /**< how many of its cells are numbers */
        std::uint32_t dimension = 0;        /**< of columns the one that they share */
    };

    /** File and context stay the caller's. */
    ClassicTables(const ClassicFile& classicFile, Convention itsConvention, karta::ReadContext& readContext);

    /** In the order of the file, the attributes last; but first what a convention is about. */
    const std::vector<Table>& GetTables() const { return tables; }

    /** Writes a table, its first row being `firstRow`; its size is that of its part. */
    void Read(const Table& table, CellOutput& output, int firstRow) const;
    /** What its rows and columns are; for a table that begins in row 1. */
    void TellShape(const Table& table) const;

private:
    // The dimensions of a variable's cells: of text without the one of its characters.
    struct CellShape {
        std::vector<std::uint64_t> lengths;
        std::vector<std::uint32_t> dimensions;
        std::size_t textLength = 0; /**< of text, 0 for numbers */
        std::uint64_t CountRows() const { return lengths.empty() ? 1 : lengths.front(); }
        std::uint64_t CountColumns() const;
    };

    const ClassicVariable& VariableAt(std::size_t place) const { return file.GetHeader().variables[place]; }
    std::string NameOf(std::string_view name) const { return file.Decode(name); }
    void FindTextDimensions();
    CellShape ShapeOf(const ClassicVariable& variable) const;
    const ClassicVariable* FindCoordinate(const CellShape& shape, std::size_t place) const;
    void MakeTables();
    int RankOf(const Table& table) const;
    void AddToColumns(std::size_t place, const CellShape& shape);
    void AddMatrix(std::size_t place, const CellShape& shape);
    void AddSpectra();
    void AddAttributes();
    void NameTables();
    void OrderColumns(Table& table) const;
    void NoteWhatIsCut() const;

    void ReadColumns(const Table& table, CellOutput& output, int firstRow) const;
    void ReadMatrix(const Table& table, CellOutput& output, int firstRow) const;
    void SetMatrixNames(const CellShape& shape, CellOutput& output, int firstCol, int row) const;
    void ReadAttributes(CellOutput& output, int firstRow) const;
    void SetAttribute(const std::string& variable, const ClassicAttribute& attribute, CellOutput& output,
                      int row) const;
    void ReadSpectra(CellOutput& output, int firstRow) const;
    struct Scans;
    Scans FindScans() const;

    const ClassicFile& file;
    Convention convention;
    karta::ReadContext& context;
    std::vector<bool> isTextDimension;
    std::vector<Table> tables;
    std::unordered_map<std::uint32_t, std::size_t> columnTables;  // places by the dimension
};
