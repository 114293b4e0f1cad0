#pragma once

#include <string>
#include <string_view>

#include "spreadsheet/PlainCell.h"
#include "spreadsheet/SharedStringsPart.h"
#include "spreadsheet/SheetCell.h"
#include "spreadsheet/WorkbookPart.h"

/**
 * Reads a worksheet part and hands on its rows and cells as they stand there: the rows are the children of
 * `sheetData`, in the literal form whatever they are called, and their cells the children `c` of these. A row
 * or column beyond those that a sheet can have ends the parse, and so does the receiver's answer.
 *
 * In the literal form a row's number is its "r", and a cell's column the letters of its own "r", each 0 where
 * it isn't there; a row's columns are what stands behind the first colon of its "spans". In the full form a
 * row or a cell without a reference comes after the one before it.
 */
class SheetHandler : public NodeHandler {
public:
    /** The receiver stays the caller's. */
    SheetHandler(XmlForm partForm, SheetReceiver& target)
        : NodeHandler(partForm, "sheetData"),
          receiver(target),
          plainCells(target.GetPlainCells()),
          item(partForm) {}

    /**
     * The number that the letters in a cell's reference stand for, A being 1; 0 without any. In the literal
     * form small letters are none.
     */
    static int GetColumnIndex(std::string_view reference, XmlForm form = XmlForm::Literal);

    /** Takes cells as nearly all are, and the beginnings of rows between them. */
    Taken TakeRaw(std::string_view document, bool noDeclarations) override;

protected:
    void StartInside(int level, std::string_view name, const XmlElement& element) override;
    void EndInside(int level) override;
    void TextInside(int level, std::string_view name, const XmlElement& element,
                    std::string_view chars) override;

private:
    void StartRow(const XmlElement& element);
    void StartRow(int number, int claimedColumns);
    bool TakePlain(const PlainRow& plain);
    bool TakePlain(const PlainCell& plain);
    bool TakeNumber(const PlainCell& plain, SheetCell::Type type);
    void StartCell(const XmlElement& element);
    void PlaceCell(std::string_view reference);
    void StartInCell(int level, std::string_view name);
    bool IsValue(int level, std::string_view name) const;
    bool IsEscaped() const;
    void FinishCell();

    SheetReceiver& receiver;
    PlainCells* plainCells;  // null where each cell is the receiver's
    StringItem item;
    int rowNumber = 0;
    bool isRowNamed = false;
    bool isRowPlain = false;   // named itself, and without a prefix
    std::string prefixedName;  // of the open row's attribute that has one
    int lastColumn = 0;
    bool inRow = false;
    bool inCell = false;
    bool inValue = false;
    bool inItem = false;      // inside the `is` of a cell
    bool inItemText = false;  // inside one of its `t`
    SheetCell cell;
    std::string value;
    std::string inlineText;
};

/**
 * Finds the size that a worksheet part claims before its cells, and then ends the parse: no more is read
 * of the part than its beginning.
 */
class DimensionHandler : public XmlEvents {
public:
    explicit DimensionHandler(XmlForm partForm) : form(partForm) {}

    const SheetSize& GetSize() const { return size; }

    void StartElement(const XmlElement& element) override;
    void EndElement() override {}
    void Characters(std::string_view /*text*/) override {}

private:
    XmlForm form;
    SheetSize size;
};
