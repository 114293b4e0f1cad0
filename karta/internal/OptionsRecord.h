#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/Export.h"
#include "frame/FileContents.h"
#include "frame/NvImport.h"
#include "karta/internal/ReadWishes.h"

/** The open-options record that a read is wished by: none, one that was kept, or the settings wished. */
class KARTA_EXPORT OptionsRecord {
public:
    /** By which reading a kept record was made: a key of its settings. */
    static constexpr const char* ReadingKey = "Reading";

    /**
     * `parts` are what the file holds, for the choices that go by name or place; may be empty when there
     * are no such choices. Raises Error for choices that the file doesn't offer.
     */
    OptionsRecord(const karta::ReadWishes& wishes, const std::vector<FileContents::Part>& parts);
    OptionsRecord(const OptionsRecord&) = delete;
    OptionsRecord& operator=(const OptionsRecord&) = delete;

    /** What Open is given: null, the settings, or an empty record to be filled and kept. */
    NvImportOpenOptions* Get() { return given ? &record : nullptr; }

    /** The part for FileContents::SelectPart, where the choice doesn't travel in the record. */
    const std::optional<int>& GetSelectedPart() const { return selectedPart; }

    /** Whether a wish goes by what the file holds, so that it must be looked at first. */
    static bool NeedsParts(const karta::ReadWishes& wishes);

    /** Whether the record's bytes are the driver's, to be freed by who keeps them. */
    bool IsFilledByDriver() const { return bytes.empty(); }

    /** The bytes of the settings that are wished, with parts as they are named: no file is looked into. */
    static std::vector<std::uint8_t> WithoutFile(const karta::ReadWishes& wishes);
    /** The bytes of a record in its stream form. Raises Error (BadOption) for what is none. */
    static std::vector<std::uint8_t> BytesOfStream(const std::string& stream);
    static std::string StreamOfBytes(const NvImportOpenOptions& options);
    /** By which reading a record was made; classic where it doesn't tell. */
    static karta::Reading ReadingOf(const std::vector<std::uint8_t>& bytes);
    /** The bytes of a record with the reading that it was made by; one that isn't of this library's form
     * stays as it is. */
    static std::vector<std::uint8_t> WithReading(const NvImportOpenOptions& options, karta::Reading reading);

private:
    void Choose(const karta::ReadWishes& wishes, const std::vector<FileContents::Part>& parts);

    bool given = false;
    std::vector<std::uint8_t> bytes;
    NvImportOpenOptions record{0, nullptr};
    std::optional<int> selectedPart;
};
