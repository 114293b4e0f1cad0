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

}  // namespace

SpreadsheetTruth ReadSpreadsheetTruth(const std::string& spreadsheetPath) {
    ptree root;
    boost::property_tree::read_json(spreadsheetPath + ".truth.json", root);
    SpreadsheetTruth truth;
    truth.delimiter = root.get("delimiter", "");
    truth.encoding = root.get("encoding", "");
    for (const auto& item : root.get_child("sheets", Nothing)) {
        const ptree& sheet = item.second;
        SpreadsheetTruth::Sheet read{sheet.get("name", ""),
                                     sheet.get("rows", 0),
                                     sheet.get("cols", 0),
                                     sheet.get("sampled", false),
                                     {}};
        for (const auto& cell : sheet.get_child("cells", Nothing)) {
            read.cells.push_back(ReadCell(cell.second));
        }
        truth.sheets.push_back(std::move(read));
    }
    return truth;
}
