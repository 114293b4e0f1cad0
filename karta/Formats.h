#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/Export.h"

namespace karta {

/** One format that files can have. */
struct Format {
    std::string name = {};                    /**< "GalacticSPC File" */
    std::string shortName = {};               /**< "spc"; empty for a plug-in's format */
    std::vector<std::string> extensions = {}; /**< with their dots: ".spc" */
    bool canRead = false;
    bool canWrite = false;
    bool canReadMany = false; /**< several files as one table */
    std::string module = {};  /**< the path of the file that holds the format */
};

/**
 * The formats of this library, and those of the plug-ins in the folders that the caller names. Nothing else
 * is ever loaded: neither what lies beside the program nor beside the library.
 */
class KARTA_EXPORT Formats {
public:
    /** A plug-in's format takes the place of one of the same name. Folders that aren't there are passed over.
     */
    explicit Formats(const std::vector<std::string>& pluginFolders = {});

    const std::vector<Format>& GetAll() const { return formats; }
    std::size_t size() const { return formats.size(); }
    auto begin() const { return formats.begin(); }
    auto end() const { return formats.end(); }

    /** By name or short name, in any case; null when there is none. Valid while this lives. */
    const Format* Find(std::string_view name) const;
    /** All with this extension, with or without its dot, in any case. */
    std::vector<const Format*> FindByExtension(std::string_view extension) const;

private:
    std::vector<Format> formats;
};

}  // namespace karta
