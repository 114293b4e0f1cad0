#pragma once

#include <string>
#include <vector>

namespace karta {

/**
 * Which rows and columns of a table say what the others are, for readers whose format tells. Rows and columns
 * count from 1, 0 is none. Without a shape a table is a plain grid.
 */
struct TableShape {
    bool isKnown = false;
    int nameRow = 0;               /**< the names of the columns */
    int firstNamedColumn = 1;      /**< the column that the row's first name is of: 2 behind row names */
    int unitRow = 0;               /**< the units of the columns */
    int axisRow = 0;               /**< the axis value of each column of the block, as numbers */
    int firstDataRow = 1;          /**< rows above are heads */
    std::vector<int> labelColumns; /**< names, dates and the like, in front of the numbers */
    int firstBlockColumn = 0;      /**< from here to the last column: like columns on one axis */
    int lastBlockColumn = 0;       /**< where more columns stand behind those; 0: the last of the table */
    std::string axisQuantity;      /**< of the block's columns: "wavenumber", "time" */
    std::string axisUnit;          /**< "cm-1", "s" */
    std::string valueQuantity;     /**< "absorbance" */
    std::string valueUnit;         /**< "AU" */

    bool HasBlock() const { return isKnown && firstBlockColumn > 0; }
};

}  // namespace karta
