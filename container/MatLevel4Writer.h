#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class NumberRowSource;
class OutputFile;
class WriteSpreadSheetData;

/**
 * Writes a table as a level 4 MAT-file of the native (little-endian) form: the numeric block as the matrix
 * DATA, each column before it as OBSID1, OBSID2 and so on, each row above it as VARID1 and so on. An
 * identifier with a text in it becomes a text matrix, a string a row, any other a column of doubles.
 *
 * In a table without any number, texts that are numbers make the block.
 */
class Matlab4Writer {
public:
    /** Both stay the caller's. */
    Matlab4Writer(OutputFile& target, WriteSpreadSheetData& table);

    /** False when the table has no numeric block; then nothing was written. */
    bool Write();

private:
    // A row or a column of identifiers: its cells from the block's first on.
    struct IdLine {
        int firstColumn = 0;
        int firstRow = 0;
        int columnStep = 0;
        int rowStep = 0;
        int count = 0;
    };

    bool FindBlock();
    bool FindBlockOfTexts();
    std::optional<double> GetNumber(int column, int row);
    void GetNumbers(int column, int row, std::span<double> numbers);
    void WriteData();
    void WriteColumns(int firstColumn, int columns, std::vector<double>& band);
    void WriteColumn();
    void WriteRow();
    void WriteIdLine(std::string_view name, const IdLine& line);
    void WriteIdNumbers(std::string_view name, const IdLine& line);
    void WriteIdTexts(std::string_view name, const IdLine& line);
    bool IDIsOnlyFloat(const IdLine& line);
    std::string TextOf(const IdLine& line, int index);
    void WriteHeader(int type, int rows, int columns, std::string_view name);
    void WriteDouble(double value);

    OutputFile& output;
    WriteSpreadSheetData& source;
    NumberRowSource* rowSource;  // the same, where it has them
    bool takesTexts = false;
    int firstDataCol = 0;
    int firstDataRow = 0;
    int blockColumns = 0;
    int blockRows = 0;
};
