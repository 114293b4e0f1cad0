#include "tests/support/SheetOutcome.h"

#include <bit>
#include <cstdint>
#include <memory>
#include <sstream>

#include "host/NvString.h"
#include "spreadsheet/SheetPart.h"

namespace {

class SheetLog : public SheetReceiver {
public:
    bool StartRow(int number, int claimedColumns) override {
        log += "row " + std::to_string(number) + " of " + std::to_string(claimedColumns) + "\n";
        return true;
    }
    bool TakeCell(const SheetCell& cell) override {
        double number = cell.number;
        const bool isNumber = cell.hasNumber || NvString::ToDouble(cell.text, number);
        log += std::to_string(cell.col) + " " + std::to_string(cell.row) + " type " +
               std::to_string(static_cast<int>(cell.type)) + " style " + std::to_string(cell.style) +
               " record " + std::to_string(cell.record) + (cell.hasValue ? " value" : " none") +
               (cell.hasIndex ? " index " : " no index ") + std::to_string(cell.index) + " " +
               (isNumber ? std::to_string(std::bit_cast<std::uint64_t>(number)) : "no number") + " [" +
               std::string(cell.text) + "]\n";
        return true;
    }

    std::string log;
};

}  // namespace

std::string SheetOutcome(std::string_view part, XmlForm form, XmlParsers parsers, std::size_t pieceSize) {
    SheetLog log;
    SheetHandler handler(form, log);
    const bool isGood = StreamXml([&] { return std::make_unique<std::istringstream>(std::string(part)); },
                                  handler, GetNames(form), parsers, pieceSize);
    return log.log + (isGood ? "well-formed" : "refused");
}
