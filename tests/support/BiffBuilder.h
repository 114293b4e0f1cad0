#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ByteBuilder.h"

/** Builds a run of BIFF records: a sheet, or the globals of a workbook. The cells' rows and columns count
 * from 0. */
class BiffBuilder {
public:
    static constexpr unsigned Biff5 = 0x0500;
    static constexpr unsigned Biff8 = 0x0600;
    static constexpr unsigned Globals = 5;
    static constexpr unsigned Worksheet = 0x10;
    static constexpr unsigned Chart = 0x20;

    BiffBuilder& Record(unsigned id, const ByteBuilder& data = {}) {
        bytes.U16(id).U16(static_cast<unsigned>(data.Size())).Text(data.Bytes());
        return *this;
    }
    /** The header of a record alone, for lengths that lie. */
    BiffBuilder& Header(unsigned id, int length) {
        bytes.U16(id).I16(length);
        return *this;
    }
    BiffBuilder& Bof(unsigned version, unsigned substream, unsigned id = 0x0809) {
        return Record(id, ByteBuilder().U16(version).U16(substream).U16(0));
    }
    BiffBuilder& Eof() { return Record(0x000A); }
    BiffBuilder& Dimensions(int rows, unsigned cols) {
        return Record(0x0200, ByteBuilder().I32(0).I32(rows).U16(0).U16(cols).U16(0));
    }
    /** As before BIFF8. */
    BiffBuilder& ShortDimensions(unsigned rows, unsigned cols) {
        return Record(0x0200, ByteBuilder().U16(0).U16(rows).U16(0).U16(cols).U16(0));
    }
    BiffBuilder& WsBool(unsigned flags) { return Record(0x0081, ByteBuilder().U16(flags)); }

    static ByteBuilder Cell(unsigned row, unsigned col, unsigned xf = 0) {
        return ByteBuilder().U16(row).U16(col).U16(xf);
    }
    BiffBuilder& Number(unsigned row, unsigned col, double value, unsigned xf = 0) {
        return Record(0x0203, Cell(row, col, xf).Double(value));
    }
    BiffBuilder& Rk(unsigned row, unsigned col, int rk, unsigned xf = 0) {
        return Record(0x027E, Cell(row, col, xf).I32(rk));
    }
    /** Each pair a format and an RK number. */
    BiffBuilder& MulRk(unsigned row, unsigned col, const std::vector<std::pair<unsigned, int>>& cells) {
        ByteBuilder data;
        data.U16(row).U16(col);
        for (const auto& [xf, rk] : cells) {
            data.U16(xf).I32(rk);
        }
        return Record(0x00BD, data.U16(col + static_cast<unsigned>(cells.size()) - 1));
    }
    BiffBuilder& Label(unsigned row, unsigned col, std::string_view text, unsigned id = 0x0204) {
        return Record(id, Cell(row, col).U16(static_cast<unsigned>(text.size())).Text(text));
    }
    BiffBuilder& LabelSst(unsigned row, unsigned col, int index) {
        return Record(0x00FD, Cell(row, col).I32(index));
    }
    BiffBuilder& BoolErr(unsigned row, unsigned col, unsigned value, unsigned isError) {
        return Record(0x0205, Cell(row, col).U8(value).U8(isError));
    }
    BiffBuilder& Formula(unsigned row, unsigned col, double result, unsigned xf = 0, unsigned id = 0x0006) {
        return Record(id, Cell(row, col, xf).Double(result).Zeros(8));
    }
    /** A result that is no number: 0 a text, 1 a truth value, 2 an error, 3 nothing. */
    BiffBuilder& FormulaMark(unsigned row, unsigned col, unsigned mark, unsigned value = 0,
                             unsigned id = 0x0006) {
        return Record(id, Cell(row, col).U8(mark).U8(0).U8(value).Zeros(3).U16(0xFFFF).Zeros(8));
    }
    /** The text result of a formula, as in BIFF8. */
    BiffBuilder& String(std::string_view text) {
        return Record(0x0207, ByteBuilder().U16(static_cast<unsigned>(text.size())).U8(0).Text(text));
    }

    BiffBuilder& Format(unsigned number, std::string_view text) {
        return Record(0x041E,
                      ByteBuilder().U16(number).U16(static_cast<unsigned>(text.size())).U8(0).Text(text));
    }
    BiffBuilder& Xf(unsigned format) { return Record(0x00E0, ByteBuilder().U16(0).U16(format).Zeros(16)); }

    std::size_t Size() const { return bytes.Size(); }
    const std::string& Bytes() const { return bytes.Bytes(); }

private:
    ByteBuilder bytes;
};

/** A string of a shared-string table, of 8-bit characters. */
inline ByteBuilder SharedText(std::string_view text) {
    return ByteBuilder().U16(static_cast<unsigned>(text.size())).U8(0).Text(text);
}

/** Builds a workbook of BIFF5 or BIFF8: its globals, and the sheets, whose places it fills in. */
class WorkbookBuilder {
public:
    explicit WorkbookBuilder(unsigned biffVersion = BiffBuilder::Biff8) : version(biffVersion) {}

    /** Records of the globals before the list of sheets. */
    BiffBuilder& Globals() { return globals; }
    /** `state` is 0 visible, 1 hidden, 2 very hidden; `type` 0 a worksheet, 2 a chart. */
    WorkbookBuilder& RawSheet(std::string_view name, std::string_view records, unsigned state = 0,
                              unsigned type = 0) {
        sheets.push_back({std::string(name), std::string(records), state, type, -1});
        return *this;
    }
    /** A sheet of this size with these cells, ended as it should be. */
    WorkbookBuilder& Sheet(std::string_view name, int rows, unsigned cols, const BiffBuilder& cells,
                           unsigned state = 0) {
        BiffBuilder records;
        records.Bof(version, BiffBuilder::Worksheet);
        if (version == BiffBuilder::Biff8) {
            records.Dimensions(rows, cols);
        } else {
            records.ShortDimensions(static_cast<unsigned>(rows), cols);
        }
        return RawSheet(name, records.Bytes() + cells.Bytes() + BiffBuilder().Eof().Bytes(), state);
    }
    /** A sheet whose entry leads to an offset of its own. */
    WorkbookBuilder& SheetAt(std::string_view name, int offset) {
        sheets.push_back({std::string(name), {}, 0, 0, offset});
        return *this;
    }
    /** Records behind the list of sheets: the shared strings. */
    BiffBuilder& Tail() { return tail; }

    std::string Build() const {
        const std::string head = BiffBuilder().Bof(version, BiffBuilder::Globals).Bytes() + globals.Bytes();
        const std::string end = tail.Bytes() + BiffBuilder().Eof().Bytes();
        std::size_t offset = head.size() + BoundSheets(0).size() + end.size();
        std::string file = head + BoundSheets(offset) + end;
        for (const SheetEntry& sheet : sheets) {
            file += sheet.records;
        }
        return file;
    }

private:
    struct SheetEntry {
        std::string name;
        std::string records;
        unsigned state;
        unsigned type;
        int ownOffset;
    };

    std::string BoundSheets(std::size_t offset) const {
        BiffBuilder list;
        for (const SheetEntry& sheet : sheets) {
            const bool hasOwnOffset = sheet.records.empty();
            ByteBuilder data;
            data.I32(hasOwnOffset ? sheet.ownOffset : static_cast<int>(offset))
                .U8(sheet.state)
                .U8(sheet.type);
            data.U8(static_cast<unsigned>(sheet.name.size()));
            if (version == BiffBuilder::Biff8) {
                data.U8(0);
            }
            list.Record(0x0085, data.Text(sheet.name));
            offset += sheet.records.size();
        }
        return list.Bytes();
    }

    unsigned version;
    BiffBuilder globals;
    BiffBuilder tail;
    std::vector<SheetEntry> sheets;
};
