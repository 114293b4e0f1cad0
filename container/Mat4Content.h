#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "base/ReadContext.h"
#include "container/MatContent.h"
#include "container/MatLevel4.h"

/** A level 4 file by the classic rules: up to 20 matrices, of which one or a layout of several is the table.
 */
class Mat4Content : public MatContent {
public:
    /** Both stay the caller's and must outlive the object. */
    Mat4Content(std::span<const std::uint8_t> file, karta::ReadContext& readContext)
        : reader(file), context(readContext) {}

    /** Also looks for the layouts. */
    int Open() override;
    int GetSize(const MatChoice& choice, int& rows, int& columns) override;
    int Read(ReadSpreadSheetData* sink, const MatChoice& choice) override;
    std::vector<FileContents::Part> ListParts() override;
    bool SelectPart(int number, MatChoice& choice) override;

    const std::vector<MatHeader>& Headers() const { return reader.Headers(); }
    /** Null where no matrix is current. */
    const MatHeader* CurrentHeader(const MatChoice& choice) const;
    bool GetMatrixSize(const MatHeader& header, int& rows, int& columns) const {
        return reader.GetSize(header, rows, columns);
    }
    /** The layout that the names make, and the matrix of its data. */
    const MatChoice& FoundLayout() const { return found; }

    /** "numeric", "string" or "sparse" */
    static const char* TypeName(const MatHeader& header);

private:
    void MakeIndexTable();
    bool FindNamedLayout();
    bool FindIdLayout();
    const MatHeader* HeaderAt(int entry) const;
    void ReadNamedLayout(ReadSpreadSheetData* sink) const;
    void ReadIdLayout(ReadSpreadSheetData* sink) const;
    void NoteOthers(const MatHeader& header) const;
    void ChargeZeros(const MatHeader& header) const;

    Matlab4Reader reader;
    karta::ReadContext& context;
    std::vector<int> indexTable;  // the matrices of a layout by their part in it, -1 for none
    int rowIdCount = 0;
    int columnIdCount = 0;
    MatChoice found;
    bool isChosen = false;  // the matrix, by its number
};
