#pragma once

#include <string>
#include <vector>

/** What an independent reader found in a spreadsheet: the file that lies beside it as NAME.truth.json. */
struct SpreadsheetTruth {
    struct Cell {
        int row;          /**< from 1 */
        int col;          /**< from 1 */
        std::string type; /**< "number", "text", "bool", "date" or "error" */
        std::string value;
        bool isUnsureDate = false; /**< one reader calls it a date and another a number */
    };
    struct Sheet {
        std::string name;
        int rows;
        int cols;
        int hidden;   /**< 1 hidden, 2 very hidden */
        bool sampled; /**< `cells` are some of the sheet's only */
        std::vector<Cell> cells;
    };

    std::string delimiter; /**< of delimited text */
    std::string encoding;  /**< of delimited text */
    bool from1904 = false; /**< the workbook counts its days from 1904 */
    std::vector<Sheet> sheets;
};

/** Raises an exception when the truth can't be read. */
SpreadsheetTruth ReadSpreadsheetTruth(const std::string& spreadsheetPath);
