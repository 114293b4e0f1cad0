#pragma once

/** The codes by which getCellType of the flat interface tells the three types of a cell. */
enum CellType : char { CellNumber = 1, CellText = 2, CellMissing = 3 };
