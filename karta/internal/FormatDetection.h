#pragma once

#include <string>
#include <vector>

#include "base/Reading.h"
#include "karta/internal/FormatCatalogue.h"

/** What a detection found of one file. */
struct FormatFinding {
    int format = 0;                    /**< the format's number; 0: none */
    std::string reason;                /**< why this one, or why none; for people */
    std::vector<std::string> possible; /**< where there is none: the names of those that may fit */
    std::vector<int> verdicts;         /**< of each format: 2 yes, 1 maybe, 0 no */
    std::vector<std::string> reasons;  /**< of each verdict; for people */
};

/**
 * Decides which format a file has.
 *
 * The complete way: a proof by content comes first, whatever the file's name; then the extension, among
 * formats that the content doesn't rule out; then readable text is a text file. Nothing else is guessed.
 * Compressed data and other known kinds of files are named. The classic way is the driver's, which takes the
 * first format that isn't ruled out.
 */
class KARTA_EXPORT FormatDetection {
public:
    /** Whether the verdicts of the formats behind the first one that is proved are wanted: they choose
     * nothing, but each may look into the file. */
    enum class Verdicts { OfAll, UpToProof };

    explicit FormatDetection(FormatCatalogue& knownFormats) : formats(knownFormats) {}

    FormatFinding Detect(const std::string& file, karta::Reading reading);

    /**
     * As Detect, but a format that neither the content proves nor the extension names is none in the classic
     * way either.
     */
    FormatFinding DetectForUser(const std::string& file, karta::Reading reading,
                                Verdicts wanted = Verdicts::OfAll);

private:
    void TellUndetermined(const std::string& file, FormatFinding& finding) const;
    FormatFinding Detect(const std::string& file, karta::Reading reading, Verdicts wanted);
    FormatFinding DetectClassically(const std::string& file);
    FormatFinding DetectCompletely(const std::string& file, Verdicts wanted);
    std::string ReasonByExtension(int format, const std::string& file) const;

    FormatCatalogue& formats;
};
