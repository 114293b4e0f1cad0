#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Note.h"

/** The text of an error's code as the binary spreadsheet formats have it: "#N/A" for 0x2A. */
std::string_view GetErrorText(std::uint8_t code);

/** How a spreadsheet calls a cell, column and row from 1: "B7". */
std::string GetCellName(int col, int row);
/** The same with its sheet, where that has a name: "Results!B7". */
std::string GetCellName(const std::string& sheet, int col, int row);

/** Counts the cells of a read that hold errors, for the note about them. */
class ErrorCells {
public:
    /** `sheet` is the one in which the cell stands, where the read has several; else empty. */
    void Add(int col, int row, std::string_view text, std::string_view sheet = {});
    void AddTo(karta::Notes& notes) const;

private:
    std::uint64_t count = 0;
    std::string firstPlace;
    std::string firstText;
};
