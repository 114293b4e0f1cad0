#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/ReadContext.h"
#include "container/MatContent.h"
#include "container/MatFile.h"
#include "container/MatLevel5.h"

/** The first array of a level 5 file by the classic rules: in the types that its values are stored in. */
class Mat5Content : public MatContent {
public:
    /** Both stay the caller's and must outlive the object. */
    Mat5Content(std::span<const std::uint8_t> file, karta::ReadContext& readContext)
        : bytes(file), context(readContext) {}

    int Open() override;
    int GetSize(const MatChoice& choice, int& rows, int& columns) override;
    int Read(ReadSpreadSheetData* sink, const MatChoice& choice) override;
    std::vector<FileContents::Part> ListParts() override;
    bool SelectPart(int number, MatChoice& choice) override;

private:
    int ReadArray(MatFile::msMatrix& matrix);
    int ReadFlags(MatFile::msMatrix& matrix);
    int ReadValues(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    template <class Stored>
    int SetNumbers(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int ReadCharacters(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int ReadSparse(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);
    int CheckIndices(const MatFile::msMatrix& matrix) const;
    template <class Stored, class Given>
    int SetEntries(ReadSpreadSheetData* sink, const MatFile::msMatrix& matrix);

    std::span<const std::uint8_t> bytes;
    karta::ReadContext& context;
    std::unique_ptr<MatElementStream> stream;
    std::unique_ptr<Matlab5Reader> reader;
    bool swap = false;
    bool hasMore = false;  // behind the first element
    std::vector<std::uint8_t> buffer;
    // Of a sparse array: the row of each entry, and where each column's entries begin.
    std::vector<std::int32_t> rowIndices;
    std::vector<std::int32_t> columnStarts;
};
