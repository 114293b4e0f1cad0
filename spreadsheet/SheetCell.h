#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

/** The largest numbers that a sheet of this format knows. */
constexpr int MaxSheetRows = 1048576;
constexpr int MaxSheetColumns = 16384;

/** A cell as its part has it, of either flavour of workbook; nothing of it is judged yet. */
struct SheetCell {
    enum class Type : std::uint8_t {
        Blank,        /**< a format and no value, binary */
        Number,       /**< without a type, or binary */
        MarkedNumber, /**< t="n" */
        SharedText,   /**< t="s": `index` */
        FormulaText,  /**< t="str": a formula's result */
        InlineText,   /**< t="inlineStr": the text stands in the cell */
        Bool,         /**< `text` is "0", "1", "false" or "true" */
        Error,        /**< `text` is the error's; binary `index` its code */
        Date,         /**< t="d": `text` by ISO 8601 */
        Other         /**< of a type that isn't known */
    };

    // Not side by side: written one by one and then read together they would have to be waited for.
    int col = 0; /**< from 1; 0 where the part doesn't say and nobody counts */
    Type type = Type::Blank;
    bool hasValue = false; /**< a value stands there, if only an empty one */
    int row = 0;
    int style = -1;           /**< the cell format; -1 where none is named */
    std::uint16_t record = 0; /**< the binary record's id; 0 in XML */
    bool isCut = false;       /**< of the text's characters the part's form kept only a half */
    bool hasIndex = false;    /**< `index` is one; else it is 0 */
    std::int64_t index = 0;
    bool hasNumber = false; /**< `number` is the value; in XML it may be that of `text`, not looked at yet */
    double number = 0.0;
    /** In UTF-8, in the binary flavour with a NUL behind it; valid during the call only. */
    std::string_view text;
};

/** The size that a part claims; -1 where it claims none, or one that no sheet can have. */
struct SheetSize {
    int cols = -1;
    int rows = -1;

    /** As far as to a cell. */
    void Widen(int col, int row) {
        cols = std::max(cols, col);
        rows = std::max(rows, row);
    }
};

class PlainCells;

/** Gets a sheet as its part is read. An answer of false ends the sheet as one that can't be read. */
class SheetReceiver {
public:
    virtual ~SheetReceiver() = default;
    /** The size that a binary part claims, before its cells. */
    virtual bool TakeSize(const SheetSize& /*size*/) { return true; }
    /** `claimedColumns`: up to where its cells are said to reach; 0 where nothing is said. */
    virtual bool StartRow(int /*number*/, int /*claimedColumns*/) { return true; }
    virtual bool TakeCell(const SheetCell& cell) = 0;
    /**
     * Takes, in place of TakeCell, the cells that are as nearly all are; null where there is no such way. Who
     * has a cell that it doesn't take comes here with it.
     */
    virtual PlainCells* GetPlainCells() { return nullptr; }
    /** A record among the cells that is none. */
    virtual void TakeOtherRecord() {}
};
