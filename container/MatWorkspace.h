#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ReadContext.h"
#include "container/MatArrays.h"
#include "container/MatContent.h"
#include "container/MatTable.h"
#include "frame/CompleteOptions.h"

/**
 * A MAT-file of either level by the rules of the complete reading: every array is a part, those in cells and
 * structures too. The one with most numbers is the table unless others are chosen. Vectors that fit can stand
 * beside and above it as names; those that this library wrote around DATA do so by themselves.
 */
class MatWorkspace : public MatContent {
public:
    /** The context stays the caller's and must outlive the object. */
    MatWorkspace(std::unique_ptr<MatArrays> source, const NvImportOpenOptions* openOptions,
                 karta::ReadContext& readContext);

    int Open() override;
    int GetSize(const MatChoice& choice, int& rows, int& columns) override;
    int Read(ReadSpreadSheetData* sink, const MatChoice& choice) override;
    std::vector<FileContents::Part> ListParts() override;
    std::vector<FileContents::Fact> ListFacts() override;
    bool SelectPart(int number, MatChoice& choice) override;
    std::string GetFailure() const override { return failure; }
    karta::Place GetFailurePlace() const override { return failurePlace; }

private:
    /** The arrays, by their places, whose values name a table's rows and columns. */
    struct Labels {
        std::vector<std::size_t> columns; /**< columns of labels in front */
        std::vector<std::size_t> rows;    /**< rows of names above */
        bool AreThere() const { return !columns.empty() || !rows.empty(); }
    };

    int Choose();
    std::size_t FindLargest() const;
    int FindNames(const char* key, bool ofRows, std::vector<std::size_t>& names);
    void FindOwnLabels();
    bool FitsAlong(const MatArray& names, std::uint64_t count) const;
    Labels LabelsOf(std::size_t array) const;
    bool GetExtent(std::size_t array, const Labels& labels, MatTable::Extent& extent) const;
    int Measure(MatTable::Extent& whole);
    int CheckChosen(MatTable& table);
    int ReadChosen(MatTable& table);
    int ReadPart(MatTable& table, std::size_t array, int firstRow, MatTable::Extent& extent);
    int PutLabels(MatTable& table, std::size_t array, const Labels& labels, MatTable::Place values,
                  int firstRow);
    void NoteOthers();
    void NoteUnreadable();
    void DescribeShape(std::size_t array, const Labels& labels, const MatTable::Extent& extent);
    int Refuse(const MatArray& array);
    std::string DetailOf(std::size_t array) const;

    std::unique_ptr<MatArrays> source;
    CompleteOptions options;
    karta::ReadContext& context;
    std::vector<MatArray> arrays;
    std::vector<std::size_t> chosen;
    bool isDefault = true;
    std::optional<std::size_t> ownData;  // the array that this library's labels belong to
    Labels ownLabels;
    Labels namedLabels;  // those that the options name
    std::string failure;
    karta::Place failurePlace;
};
