#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "frame/ReadSpreadSheetData.h"
#include "frame/SprFileFactory.h"
#include "instrument/OPUSDirectory.h"

/** What is kept of one file: its parameters and where its values lie. */
struct BrukerOPUSRecord {
    std::string path;
    std::string sampleName;
    std::string sampleForm;
    std::int32_t numPoints = 0;
    double firstX = 0.0;
    double lastX = 0.0;
    double scaleFactor = 1.0;
    double maxY = 0.0;
    double minY = 0.0;
    std::int32_t derivative = 0;
    std::string xUnits;
    std::string date;
    std::string time;
    OPUSBlock dataBlock;
    bool hasDataBlock = false;
    std::int32_t dataFormat = 0;

    double GetSpacing() const { return (lastX - firstX) / (numPoints - 1); }
    /** The X of a point, from 0. */
    float GetX(int index) const {
        return static_cast<float>(index) * static_cast<float>(GetSpacing()) + static_cast<float>(firstX);
    }
};

/**
 * The OPUS files of one import in the classic reading, for the two readers that make tables of them. Only the
 * ratioed spectrum is read; sample and reference spectra and interferograms are passed over.
 *
 * The operations that return false leave the reason in the error text.
 */
class OPUSSelection {
public:
    /** Sets the values of one file's row: the file, its values in the file's order, the sink and the row. */
    using ValueSetter = std::function<void(const BrukerOPUSRecord&, ByteCursor, ReadSpreadSheetData&, int)>;

    /** Gets a yes-or-no question's text and tells the user's answer. */
    using Questioner = std::function<bool(const std::string&)>;

    /** Looks at every file of the selection and at nothing of their values. */
    bool Open(const char* fileNames);
    /** Asks the user where the files' axes begin or end at different values; false when that ends it. */
    bool ConfirmDifferentRanges(const Questioner& ask);
    void Clear();

    /**
     * Gives the names, the X row and a row a file. A file is opened when its row is due. `grid`, if there is
     * one, takes the values of the X row as they are given.
     */
    bool Read(ReadSpreadSheetData& sink, std::vector<float>* grid, const ValueSetter& setValues);

    int GetNumRows() const;
    int GetNumCols() const;
    void CopyErrorText(char* buffer, unsigned int size) const;
    /** Where a file is corrupt, as far as that is known. */
    std::optional<std::uint64_t> GetFailedByte() const { return failedByte; }
    /** The text for who wants to write. */
    void SetWritingError();

    std::vector<FileContents::Part> ListParts() const;
    std::vector<FileContents::Fact> ListFacts() const;

    /** The verdict of both factories: whether all, some or none of the files have the format's mark. */
    static MyKindOfFile GetKind(const char* fileNames);

private:
    bool OpenFile(const std::string& path);
    bool CheckPointCounts();
    bool Fail(std::string text);
    void SetNames(ReadSpreadSheetData& sink) const;
    void SetXRow(ReadSpreadSheetData& sink, std::vector<float>* grid) const;
    bool ReadRow(const BrukerOPUSRecord& record, ReadSpreadSheetData& sink, int row,
                 const ValueSetter& setValues);

    std::vector<BrukerOPUSRecord> records;
    std::string errorText;
    std::optional<std::uint64_t> failedByte;
};

/** What the code of an X unit stands for, as the table tells it; any other code as it is. */
std::string NameOfOPUSUnit(const std::string& code);

/** The first column of the values, behind the file's texts. */
constexpr int OPUSFirstValueColumn = 6;
