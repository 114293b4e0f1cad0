#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "frame/FileContents.h"
#include "frame/NvImport.h"
#include "tools/ReadRequest.h"

/**
 * The open-options record that a request asks for: none, one kept in a file, or the settings given on the
 * command line.
 */
class OptionsRecord {
public:
    /**
     * `parts` are what the file holds, for the choices that go by name or place; may be empty when there
     * are no such choices. Raises Failure for choices that the file doesn't offer.
     */
    OptionsRecord(const ReadRequest& request, const std::vector<FileContents::Part>& parts);
    OptionsRecord(const OptionsRecord&) = delete;
    OptionsRecord& operator=(const OptionsRecord&) = delete;

    /** What Open is given: null, the settings, or an empty record to be filled and kept. */
    NvImportOpenOptions* Get() { return given ? &record : nullptr; }

    /** The part for FileContents::SelectPart, where the choice doesn't travel in the record. */
    const std::optional<int>& GetSelectedPart() const { return selectedPart; }

    /** Whether the request goes by what the file holds, so that it must be looked at first. */
    static bool NeedsParts(const ReadRequest& request);

    /**
     * The reading that a request asks for: what was said, else what a kept record was made by (classic where
     * it doesn't tell), else the verb's own. Through the driver it is always the classic one.
     */
    static karta::Reading ReadingOf(const ReadRequest& request, karta::Reading ofVerb);

    /**
     * Writes the record in its stream form to the file that the request names, if it names one. Where the
     * reader is this library's, the record tells by which reading it was made.
     */
    static void Save(const ReadRequest& request, const NvImportOpenOptions& options, bool isOwnReader);

    /** Save after a read through the driver, which leaves the bytes of a filled record to its caller. */
    void SaveAfterDriver(const ReadRequest& request, bool isOwnReader);

private:
    void Choose(const ReadRequest& request, const std::vector<FileContents::Part>& parts);

    bool given = false;
    std::vector<std::uint8_t> bytes;
    NvImportOpenOptions record{0, nullptr};
    std::optional<int> selectedPart;
};
