#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/ReadContext.h"
#include "frame/CellOutput.h"
#include "frame/FileContents.h"
#include "instrument/SpectrumTexts.h"

/** One spectrum of a DA file, by its header and the place of its values. */
struct NsasSpectrum {
    std::size_t position = 0; /**< of the header */
    int numPoints = 0;        /**< as many as the file holds */
    float start = 0;
    float step = 0;
    int numConstituents = 0;
    std::size_t index = 0; /**< among all records, as in the CN file */
    std::string name;
};

/**
 * The spectra of an NSAS DA file and their constituents in the complete reading: a record follows where the
 * one before ends, and the axis runs over the ranges of all spectra of one step. The table has the rows and
 * columns of the classic one; its first row holds the wavelengths as numbers too.
 *
 * The bytes stay the caller's.
 */
class NsasSpectra {
public:
    enum class Outcome { Opened, NoSpectrum, NoSuchPart };

    /**
     * `companion` is the CN file's bytes, or empty without one. The key Part names the spectra of the table.
     * Raises std::ios_base::failure for options that are cut short.
     */
    Outcome Open(std::span<const std::uint8_t> spectra,
                 std::optional<std::span<const std::uint8_t>> companion, const NvImportOpenOptions* options,
                 karta::ReadContext& context);
    void Clear();
    void Read(ReadSpreadSheetData& sink, karta::ReadContext& context) const;

    int GetNumRows() const;
    int GetNumCols() const;
    std::vector<FileContents::Part> ListParts() const;
    std::vector<FileContents::Fact> ListFacts() const;

    /** Whether records follow each other to the end of the file exactly, as in no other kind of file. */
    static bool IsChain(std::span<const std::uint8_t> bytes);

private:
    /** Spectra of one step, and the axis over all of them. */
    struct Table {
        float first = 0;
        float step = 0;
        int numPoints = 0;
        std::vector<std::size_t> spectra;
    };

    void Walk(karta::ReadContext& context);
    void OpenCompanion(karta::ReadContext& context);
    void AddToTable(std::size_t place);
    bool Choose(const std::optional<std::string>& wanted, karta::ReadContext& context);
    std::span<const std::uint8_t> HeaderOf(const NsasSpectrum& spectrum) const;
    static int PlaceInTable(const NsasSpectrum& spectrum, const Table& table);
    void SetHeads(CellOutput& out, const Table& table, int row) const;
    void SetSpectrum(CellOutput& out, const Table& table, const NsasSpectrum& spectrum, int ordinal,
                     int row) const;

    SpectrumTexts texts;
    std::span<const std::uint8_t> bytes;
    std::vector<std::string> constituentNames;
    std::span<const std::uint8_t> constituentValues;
    std::vector<NsasSpectrum> spectra;
    std::vector<Table> tables;
    std::size_t numRecords = 0;
    int numConstituents = 0;
};
