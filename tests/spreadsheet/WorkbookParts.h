#pragma once

#include <string>
#include <vector>

#include "tests/support/ZipBuilder.h"

/** The parts of a zipped workbook, in either flavour; one that is set to "-" is left out. */
struct WorkbookParts {
    /** `flavour` is the extension of the parts, "xml" or "bin". */
    std::string Build(const std::string& flavour) const {
        ZipBuilder zip;
        const auto add = [&zip](const std::string& name, const std::string& part) {
            if (part != "-") {
                zip.AddDeflated(name, part);
            }
        };
        add("xl/workbook." + flavour, workbook);
        add("xl/_rels/workbook." + flavour + ".rels", relationships);
        add("xl/sharedStrings." + flavour, sharedStrings);
        add("xl/styles." + flavour, styles);
        for (std::size_t i = 0; i < sheets.size(); ++i) {
            add("xl/worksheets/sheet" + std::to_string(i + 1) + "." + flavour, sheets[i]);
        }
        return zip.Build();
    }

    std::vector<std::string> sheets;
    std::string workbook;
    std::string relationships;
    std::string sharedStrings = "-";
    std::string styles = "-";
};
