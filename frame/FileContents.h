#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Export.h"

/**
 * What an open file holds beyond one table, for a host that lets the user look and choose. A reader whose
 * files hold several sheets, blocks, matrices or spectra derives from this beside SpreadsheetFile, and
 * hosts find it by dynamic_cast. All operations want an Open that succeeded.
 */
class KARTA_EXPORT FileContents {
public:
    /** One sheet, data block, matrix or spectrum. */
    struct Part {
        std::string kind; /**< "sheet", "block", "matrix" or "spectrum" */
        std::string name;
        int number = 0; /**< what stands for the part in the options record, or in SelectPart */
        int cols = -1;  /**< -1 where it isn't known without reading the part */
        int rows = -1;
        bool hidden = false;
        std::string detail; /**< type, unit and the like, for the user */
        /** Names of what is in it, which stand for it where no part has them: variables, say. */
        std::vector<std::string> members = {};
    };
    /** A fact about the file: {"spacing", "1.928 cm-1"}, or as a number with its unit. */
    struct Fact {
        /** A text; dates by ISO 8601. */
        Fact(std::string factName, std::string text) : name(std::move(factName)), value(std::move(text)) {}
        /** A number; `factUnit` may be empty. */
        Fact(std::string factName, double factNumber, std::string factUnit);

        bool operator==(const Fact& other) const = default;

        std::string name;
        std::string value; /**< for people; a number's with its unit */
        std::optional<double> number;
        std::string unit;
    };

    virtual ~FileContents();

    /** In the order in which a user sees and counts them. */
    virtual std::vector<Part> ListParts() = 0;
    virtual std::vector<Fact> ListFacts();
    /**
     * Chooses the one part to read, by its number, in formats whose choice doesn't travel in the options
     * record. False where there is no such choice.
     */
    virtual bool SelectPart(int number);
};
