#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"

class Book;
class ClassicXmlSheet;
class WorkbookPackage;
struct SheetSize;
struct WorkbookSheet;

/**
 * Workbooks in zip packages, after ECMA-376 (SpreadsheetML) and, for the binary flavour, after the public
 * description of the .xlsb records. By the classic reading a file whose extension is exactly "xlsx" holds XML
 * parts and any other is taken for the binary flavour; by the complete one the workbook's own bytes tell.
 *
 * The chosen sheets make one table, stacked or side by side. Cells stand at their rows and columns in the
 * file, so gaps stay gaps. The size is told to the sink in Read.
 *
 * The classic reading: GetNumCols and GetNumRows answer 1. The XML flavour pushes texts only, numbers as they
 * are written; the binary one pushes doubles. A number whose format is one of dates is pushed as the text of
 * its date in both. The sheet at place i of the list is read from the part numbered i + 1, whatever the
 * relationships say. Of XML 16 bytes a cell are kept beside its text until all of its part was seen.
 *
 * The complete reading: cells stream by, each as what it is. Without a choice the first visible sheet is
 * read.
 *
 * Options record: section Settings with "Sheets" (a list of places in the sheet list, from 0) and
 * "Vertical" (a bool, stacked); the complete reading looks at "Part" first. A workbook of one sheet needs no
 * choice and looks at no record.
 *
 * A file that can't be read, or is no zip archive, raises Exception from Open.
 */
class KARTA_EXPORT Excel2007File : public FormatReader, public FileContents {
public:
    enum Excel2007FileStatus {
        StatusNoData = 0x300,
        StatusNoSheets = 0x301,
        /** The options record can't be understood, or names a sheet that isn't there. */
        StatusBadOptions = 0x302,
        StatusCorrupt = 0x303,
        /** Kept for hosts that know them; nothing raises these two. */
        StatusWrongSheetSize = 0x304,
        StatusUnsupported = 0x305
    };

    Excel2007File();
    Excel2007File(const Excel2007File&) = delete;
    Excel2007File& operator=(const Excel2007File&) = delete;
    ~Excel2007File() override;

    void Close() override;
    /** 1; in the complete reading the size of what is chosen, which takes a look at all of its cells. */
    int GetNumCols() override;
    int GetNumRows() override;
    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** What the classic reading of the binary flavour passed over. */
    const char* GetWarningMessage() override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** Where a host asks which of `sheetNames` are wanted; a cancelled one stores and returns status 4. */
    virtual int GetSheetOptions();

    /** The XML flavour's classic Read. */
    int ReadXML(ReadSpreadSheetData* sink);

    /** The sheets that can be chosen, with the sizes that their parts claim. */
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

protected:
    std::vector<std::string> sheetNames;
    std::vector<int> selectedSheets;  // places in sheetNames
    bool vertical = false;

private:
    // How far the sheets read so far reach.
    struct XmlPlacement;
    struct BinaryPlacement;
    class BinaryReceiver;

    bool CanRead();
    void OpenClassic(const char* path);
    void OpenComplete(const char* path);
    std::string FindWorkbookPart() const;
    std::string FindTable(std::string_view type, const std::string& usualName) const;
    void TakeSheets(std::vector<WorkbookSheet> list);

    void GetSheet(NvImportOpenOptions* options);
    bool SetOptions(const NvImportOpenOptions* options);
    void GetOptions(NvImportOpenOptions* options);
    void GetCompleteSheet(NvImportOpenOptions* options);
    bool SetCompleteOptions(const NvImportOpenOptions* options);
    bool SelectClassicPlaces(const std::vector<int>& places);
    std::string GetChosenParts() const;
    std::vector<Part> ListSheets() const;

    int ReadXmlSheets(ReadSpreadSheetData* sink);
    bool PlaceSheet(const ClassicXmlSheet& sheet, XmlPlacement& placement, ReadSpreadSheetData* sink) const;
    void PushRows(const ClassicXmlSheet& sheet, XmlPlacement& placement, ReadSpreadSheetData* sink) const;
    void PushRow(const ClassicXmlSheet& sheet, std::size_t row, XmlPlacement& placement,
                 ReadSpreadSheetData* sink) const;
    int ReadBinary(ReadSpreadSheetData* sink);
    int ReadComplete(ReadSpreadSheetData* sink);
    std::string DescribeFailure(const WorkbookSheet& sheet) const;
    const SheetSize& GetExtent();
    SheetSize MeasureSheet(const WorkbookSheet& sheet) const;
    void AddPackageFacts(std::vector<Fact>& facts) const;

    std::unique_ptr<WorkbookPackage> package;
    std::unique_ptr<Book> book;
    std::vector<WorkbookSheet> sheets;  // in step with sheetNames
    std::unique_ptr<SheetSize> extent;  // of the complete table, once it is known
    std::string workbookPart;
    std::string warning;
    bool isBinary = false;
    std::vector<std::uint8_t> optionsBuffer;
};

class KARTA_EXPORT Excel2007FileFactory : public SprFileFactory {
public:
    explicit Excel2007FileFactory(char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
