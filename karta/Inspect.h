#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Export.h"
#include "base/Note.h"
#include "karta/Fact.h"
#include "karta/ReadOptions.h"

namespace karta {

/** One sheet, block, variable, page or list of a file. */
struct Part {
    int place = 0;                         /**< what ReadOptions::part can be, from 1 */
    std::string kind = {};                 /**< "sheet", "block", "matrix", "spectrum" ... */
    std::string name = {};                 /**< as the file has it, in UTF-8; may be empty */
    std::optional<std::int64_t> rows = {}; /**< of the part's table; nothing: not known without reading it */
    std::optional<std::int64_t> columns = {};
    bool isHidden = false;
    std::string detail = {}; /**< type, unit and the like, for people */
};

/** What a selection of files is and holds. */
struct Inspection {
    std::string format = {};    /**< the format's name */
    std::string shortName = {}; /**< its short name, where it has one */
    std::string reason = {};    /**< why this format */
    Reading reading = Reading::Complete;
    std::vector<Part> parts = {}; /**< in the file's order; none for formats whose files are one table */
    std::vector<Fact> facts = {};
    std::vector<Note> notes = {}; /**< what opening the file already told */
};

/**
 * Looks into a file without reading its table: what is needed of it to list parts and facts. Of the options
 * those count that a reader must know to open the file: format, password, encoding, plug-ins, budget, stop.
 *
 * Raises Error, as Read does.
 */
KARTA_EXPORT Inspection Inspect(const std::string& path, const ReadOptions& options = {});
/** Of several files that are one table, by the formats that can. */
KARTA_EXPORT Inspection Inspect(const std::vector<std::string>& paths, const ReadOptions& options = {});

}  // namespace karta
