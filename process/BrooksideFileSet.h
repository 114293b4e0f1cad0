#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "base/LessIgnoringCase.h"
#include "base/ReadContext.h"
#include "process/BrooksideStream.h"

/**
 * Finds the texts of one process log by their names: the transition file itself and the data files that it
 * names. They are files of one folder (.trn), blocks of one package file (.pkg), or blocks of a package
 * text in memory. The constructors raise Exception when there is no such log.
 *
 * A package is one text with blocks between tags: a name in <trn_file_name>, the transition file in
 * <trn_file>, and then any number of <data_file_name> and <data_file>. It ends at its first NUL. Of two
 * data files of one name the later counts.
 */
class BrooksideFileSet {
public:
    /** What a package text in memory holds. */
    enum PackageKind { PackageOfLog, PackageOfCenterFiles };

    /**
     * The log at a path, by its extension, as the context says it is to be read; each file opened raises the
     * limits of its budget. In the complete reading any text with a package's tags is one, and
     * any other file a transition file. A transition file need not be there yet.
     */
    BrooksideFileSet(const std::string& path, std::shared_ptr<karta::ReadContext> context);
    /**
     * A package text in memory, ended by a NUL, that stays the caller's and must outlive the set. Of centre
     * files the first is known by `name`, the second (or the only one) by the empty name.
     */
    BrooksideFileSet(const char* text, const std::string& name, PackageKind kind);

    /**
     * A stream over the text of a name; not open when there is none. A data file is looked for in the log's
     * own folder only, whatever folder its name tells. The complete reading finds it in any case of its
     * letters and doesn't cut its lines; the classic one looks for the letters that are there, and in a
     * package for the folder too.
     */
    BrooksideStream OpenText(const std::string& name) const;
    /** How many bytes the text of a name has; 0 when there is none. */
    std::uint64_t GetSize(const std::string& name) const { return OpenText(name).GetText().size(); }

private:
    struct Region {
        std::size_t start;
        std::size_t length;
    };
    struct Block {
        std::string name;  // without the folder
        Region region;
    };

    bool IsOwnName(const std::string& name) const;
    bool IsComplete() const { return context != nullptr && context->reading == karta::Reading::Complete; }
    bool IsPackage(std::string_view extension) const;
    std::string PathOf(const std::string& name) const;
    std::string FindInFolder(const std::string& name) const;
    void ReadPackage();
    void FindLog();
    void FindCenterFiles();
    bool FindBlock(std::string_view kind, std::size_t from, Block& block) const;
    bool FindContent(std::string_view tag, std::size_t from, Region& region) const;

    std::shared_ptr<karta::ReadContext> context;  // null for a text in memory
    bool isPlainFile = false;
    std::unique_ptr<char[]> ownedText;  // null for a plain file and for a text in memory
    std::string_view packageText;
    std::string ownName;
    std::string directory;
    std::map<std::string, Region, LessIgnoringCase> regions;
};
