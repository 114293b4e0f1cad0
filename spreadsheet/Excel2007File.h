#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "archive/ZipFile.h"
#include "frame/FileContents.h"
#include "frame/FormatReader.h"
#include "frame/SprFileFactory.h"
#include "spreadsheet/SharedStrings.h"

class NodeHandler;
class XmlPlatform;
struct SheetContent;

/**
 * Workbooks in zip packages, after ECMA-376 (SpreadsheetML) and, for the binary flavour, after the public
 * description of the .xlsb records. A file whose extension is exactly "xlsx" holds XML parts; any other is
 * taken for the binary flavour.
 *
 * The chosen sheets make one table, stacked or side by side. Cells stand at their rows and columns in the
 * file, so gaps stay gaps. The size is told to the sink sheet by sheet in Read; GetNumCols and GetNumRows
 * answer 1 before. The XML flavour pushes texts only, numbers as they are written; the binary one pushes
 * doubles. A number whose format is one of dates is pushed as the text of its date in both.
 *
 * The sheet at place i of the list is read from the part numbered i + 1, whatever the relationships say.
 * A sheet's part is streamed; until all of it was seen, 16 bytes a cell are kept beside its text.
 *
 * Options record: section Settings with "Sheets" (a list of places in the sheet list, from 0) and
 * "Vertical" (a bool, stacked). A workbook of one sheet needs no choice and looks at no record.
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
    int GetNumCols() override { return 1; }
    int GetNumRows() override { return 1; }
    void GetErrorMessage(char* buffer, unsigned int size) override;
    /** What the binary flavour passed over. */
    const char* GetWarningMessage() override;
    int Open(bool forRead, const char* path, NvImportOpenOptions* options) override;
    int Read(ReadSpreadSheetData* sink) override;
    int EstablishSize() override;

    /** Where a host asks which of `sheetNames` are wanted; a cancelled one stores and returns status 4. */
    virtual int GetSheetOptions();

    /** The XML flavour's Read. */
    int ReadXML(ReadSpreadSheetData* sink);

    /** The sheets that can be chosen, with the sizes that their parts claim. */
    std::vector<Part> ListParts() override;
    std::vector<Fact> ListFacts() override;

protected:
    std::vector<std::string> sheetNames;
    std::vector<int> selectedSheets;  // places in sheetNames
    bool vertical = false;

private:
    struct BIFFRecord2007;
    struct CellFormat {
        int numFmt;
        bool isDateCode;  // whether the code that the workbook gives this number is one of dates
    };
    // How far the sheets read so far reach.
    struct XmlPlacement;
    struct BinaryPlacement;

    bool CanRead();
    const ZipFile::Entry* GetZipEntry(const std::string& name) const;
    std::unique_ptr<std::istream> OpenPart(const std::string& name) const;
    bool InitParser(const std::string& name, NodeHandler& handler) const;
    void GetSheet(NvImportOpenOptions* options);
    bool SetOptions(const NvImportOpenOptions* options);
    void GetOptions(NvImportOpenOptions* options);
    static bool IsDateFormat(std::string code);
    static std::string GetSheetPartName(int place, const char* extension);
    void KeepWorksheets(const std::string& relationships, std::vector<std::string> ids, bool anyCase);

    // The XML flavour.
    int InitSheetVector();
    int InitSharedStrings();
    int InitNumFormats();
    int InitIsDateTime();
    std::vector<bool> ListDateStyles() const;
    bool ReadSheet(int sheet, const std::vector<bool>& dateStyles, SheetContent& content) const;
    bool PlaceSheet(const SheetContent& content, XmlPlacement& placement, ReadSpreadSheetData* sink) const;
    void PushRows(const SheetContent& content, XmlPlacement& placement, ReadSpreadSheetData* sink) const;
    void ReadDimension(Part& part) const;
    void PushRow(const SheetContent& content, std::size_t row, XmlPlacement& placement,
                 ReadSpreadSheetData* sink) const;

    // The binary flavour.
    static bool ReadBiffRecord(std::istream& stream, BIFFRecord2007& record);
    static bool FindRecord(std::istream& stream, int id, BIFFRecord2007& record);
    int GetStringDataPart(const BIFFRecord2007& record, std::uint64_t offset, std::uint32_t count,
                          std::string& out);
    int InitBinarySheetsVector(std::istream& stream);
    int InitBinarySharedStringsVector();
    int InitBinaryFormatInfo();
    bool ReadFormatCodes(std::map<int, std::string>& codes);
    void ReadCellFormats(const std::map<int, std::string>& codes);
    int ReadBinary(ReadSpreadSheetData* sink);
    bool ReadBinarySheet(int sheet, BinaryPlacement& placement, ReadSpreadSheetData* sink);
    bool PlaceBinarySheet(const BIFFRecord2007& dimension, BinaryPlacement& placement,
                          ReadSpreadSheetData* sink) const;
    void ReadBinaryDimension(Part& part) const;
    bool ReadBinaryCells(std::istream& stream, BinaryPlacement& placement, ReadSpreadSheetData* sink);
    bool PushCell(const BIFFRecord2007& record, int row, int colBase, ReadSpreadSheetData* sink);
    void SetNumber(ReadSpreadSheetData* sink, double value, int col, int row, int xf) const;
    static const char* GetErrorString(char code);

    std::unique_ptr<XmlPlatform> platform;
    std::unique_ptr<ZipFile> zipFile;
    SharedStrings sharedStrings;
    std::vector<int> numFormats;         // of each cell format, its number format
    std::map<int, bool> isDateFormat;    // of the number formats that the workbook defines
    std::vector<CellFormat> formatInfo;  // the same of the binary flavour
    std::vector<bool> hiddenSheets;      // in step with sheetNames
    std::string warning;
    bool isBinary = false;
    std::vector<std::uint8_t> optionsBuffer;
};

class KARTA_EXPORT Excel2007FileFactory : public SprFileFactory {
public:
    explicit Excel2007FileFactory(signed char priority);
    MyKindOfFile IsMyKindOfFile(const char* fileName) override;
    SpreadsheetFile* GetSpreadsheetFile() override;
};
