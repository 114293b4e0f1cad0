#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/FileContents.h"
#include "karta/Inspect.h"
#include "karta/ReadOptions.h"
#include "karta/Table.h"
#include "karta/internal/DirectRead.h"

namespace karta {

/** The formats that reads go by, which may share them. */
std::shared_ptr<FormatCatalogue> LoadFormats(const std::vector<std::string>& pluginFolders);

/** What an option is that only some formats know, where the file's format doesn't. */
enum class UnknownOptions {
    AreErrors,
    AreDropped  // of several files, some may know it
};

/**
 * The files of one read with their format: what Reader, Inspect, Read and Scan are made of. Nothing of one
 * read is left for the next.
 */
class Selection {
public:
    /** Checks the files and chooses their format. Raises Error. */
    Selection(std::vector<std::string> fileNames, ReadOptions readOptions,
              std::shared_ptr<FormatCatalogue> formats, UnknownOptions unknown = UnknownOptions::AreErrors);

    const std::string& GetFormat() const { return format; }
    /** Its place in the catalogue. */
    int GetFormatNumber() const { return chosen.format; }
    const std::string& GetReason() const { return chosen.reason; }
    const ReadOptions& GetOptions() const { return options; }

    Inspection Inspect() const;
    /** This part, whatever the options name. */
    Table Read(const PartName& part) const;
    /** The same in pieces; false from `use` ends it. */
    using BatchFunction = std::function<bool(Table& batch)>;
    void ForEachBatch(const PartName& part, std::int64_t rows, const BatchFunction& use,
                      std::size_t mostHeldBytes = MostHeldBytes) const;

private:
    // Enough that most tables are read once, and little beside the program itself.
    static constexpr std::size_t MostHeldBytes = std::size_t{16} << 20;

    class Run;
    ReadWishes MakePartWishes(const PartName& part) const;
    Inspection InspectBy(const ReadWishes& wishes) const;
    Table Select(const Table& table) const;

    std::vector<std::string> files;
    ReadOptions options;
    UnknownOptions unknownOptions;
    ChosenFormat chosen;
    std::string format;
};

}  // namespace karta
