#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/NvImport.h"

/**
 * The choice of sheets as an options record keeps it, section Settings with "Sheets" and "Vertical": which
 * sheets, by the numbers that the format gives them, and whether they stand below each other.
 */
class SheetChoice {
public:
    /**
     * What a record that holds bytes names. A key that isn't there leaves its value as it was; a record of an
     * empty text chooses nothing. Raises std::ios_base::failure for a record that is cut short.
     */
    static void Read(const NvImportOpenOptions& options, std::vector<int>& sheets, bool& vertical);
    /** Fills a record; it then points into `memory`, see LendOptions. */
    static void Lend(const std::vector<int>& sheets, bool vertical, std::vector<std::uint8_t>& memory,
                     NvImportOpenOptions& options);

    static std::string ConvertSheetVectorToString(const std::vector<int>& sheets, bool vertical);
    static void ConvertSheetStringToVector(const std::string& text, std::vector<int>& sheets, bool& vertical);

    /**
     * The same for the complete reading, whose record names parts: `parts` as FindParts takes them.
     */
    static void LendParts(const std::string& parts, bool vertical, std::vector<std::uint8_t>& memory,
                          NvImportOpenOptions& options);
    /** "Vertical"; true where the record doesn't say. `options` may be null. */
    static bool ReadVertical(const NvImportOpenOptions* options);

    static constexpr const char* Sheets = "Sheets";
    static constexpr const char* Vertical = "Vertical";
};
