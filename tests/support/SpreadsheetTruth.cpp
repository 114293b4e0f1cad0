#include "tests/support/SpreadsheetTruth.h"

#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

using boost::property_tree::ptree;

namespace {

const ptree Nothing;

SpreadsheetTruth::Cell ReadCell(const ptree& item) {
    std::vector<std::string> fields;
    for (const auto& field : item) {
        fields.push_back(field.second.data());
    }
    fields.resize(4);
    return {std::stoi(fields[0]), std::stoi(fields[1]), fields[2], fields[3]};
}

// Each one a list: the sheet's name, row and column.
void MarkUnsureDates(const ptree& places, SpreadsheetTruth::Sheet& sheet) {
    for (const auto& item : places) {
        std::vector<std::string> fields;
        for (const auto& field : item.second) {
            fields.push_back(field.second.data());
        }
        fields.resize(3);
        for (SpreadsheetTruth::Cell& cell : sheet.cells) {
            if (fields[0] == sheet.name && std::stoi(fields[1]) == cell.row &&
                std::stoi(fields[2]) == cell.col) {
                cell.isUnsureDate = true;
            }
        }
    }
}

}  // namespace

SpreadsheetTruth ReadSpreadsheetTruth(const std::string& spreadsheetPath) {
    ptree root;
    boost::property_tree::read_json(spreadsheetPath + ".truth.json", root);
    SpreadsheetTruth truth;
    truth.delimiter = root.get("delimiter", "");
    truth.encoding = root.get("encoding", "");
    truth.from1904 = root.get("date1904", false);
    for (const auto& item : root.get_child("sheets", Nothing)) {
        const ptree& sheet = item.second;
        SpreadsheetTruth::Sheet read{sheet.get("name", ""),       sheet.get("rows", 0),
                                     sheet.get("cols", 0),        sheet.get("hidden", 0),
                                     sheet.get("sampled", false), {}};
        for (const auto& cell : sheet.get_child("cells", Nothing)) {
            read.cells.push_back(ReadCell(cell.second));
        }
        MarkUnsureDates(root.get_child("date_or_number_unsure", Nothing), read);
        truth.sheets.push_back(std::move(read));
    }
    return truth;
}
