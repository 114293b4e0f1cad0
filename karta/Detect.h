#pragma once

#include <string>
#include <vector>

#include "base/Export.h"
#include "base/Reading.h"

namespace karta {

/** What a format says of a file. */
enum class Verdict {
    No,    /**< the file can't be of this format */
    Maybe, /**< nothing speaks against it */
    Yes    /**< the content proves it */
};

/** One format's verdict and why. */
struct FormatVerdict {
    std::string format = {}; /**< the format's name */
    Verdict verdict = Verdict::No;
    std::string reason = {}; /**< for people: "proved by the content" */
};

/** Which format a file is taken for. */
struct Detection {
    bool IsDetermined() const { return !format.empty(); }

    std::string format = {};                  /**< the chosen format's name; empty: none */
    std::string shortName = {};               /**< its short name, where it has one */
    std::string reason = {};                  /**< why this one, or why none */
    std::vector<FormatVerdict> verdicts = {}; /**< of every format, in the order of Formats */
};

/** What a detection goes by. */
struct DetectOptions {
    /** Complete takes proof by content first, then the extension; classic is the desktop application's way.
     */
    Reading reading = Reading::Complete;
    /** Folders with plug-ins. Nothing is loaded from anywhere else. */
    std::vector<std::string> plugins = {};
};

/**
 * Decides which format a file has, by its first bytes and its name. A file that no format fits is no error:
 * the reason then tells why. Raises Error (NotFound, NoPermission, NotAFile, NotReadable).
 */
KARTA_EXPORT Detection Detect(const std::string& path, const DetectOptions& options = {});

}  // namespace karta
