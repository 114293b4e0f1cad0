#pragma once

#include <cstddef>
#include <deque>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/NumberStore.h"
#include "base/ReadContext.h"
#include "frame/FileContents.h"
#include "instrument/JCAMPDocument.h"
#include "instrument/JCAMPSpectra.h"
#include "instrument/SpectrumTable.h"
#include "instrument/SpectrumTexts.h"

class JCAMPStream;

/**
 * The complete reading of a selection of JCAMP-DX files: their blocks as parts, those of the table as rows.
 * A part is the spectra of one block that share an axis, and each table of peaks. Without a choice the first
 * one that can be read is the table, together with all spectra of its class and axis. Several tables of
 * peaks stand by X in one.
 */
class JCAMPTable {
public:
    explicit JCAMPTable(karta::ReadContext& readContext) : context(readContext) {}

    /** Before the first file. Raises std::ios_base::failure for options that are cut short. */
    void ChooseEncoding(const NvImportOpenOptions* options) { texts.Choose(options, context); }
    /** Reads one more file. Returns one of JCAMPFile's codes. */
    int AddFile(const std::string& path);
    /** Decides what the table is. Returns one of JCAMPFile's codes. */
    int Choose(const std::optional<std::string>& wanted);

    /** After a Choose that failed: what the blocks hold that can't be read; empty where that isn't why. */
    std::string DescribeProblems() const;

    int CountRows() const { return table.CountRows(); }
    int CountColumns() const { return table.CountColumns(); }
    std::vector<FileContents::Part> ListParts() const;
    /** The line of the first of them; 0 for none. */
    int FindProblemLine() const;
    std::vector<FileContents::Fact> ListFacts() const;
    /**
     * The values are let go of once they are handed out; another Read decodes them anew. Returns one of
     * JCAMPFile's codes.
     */
    int Read(ReadSpreadSheetData& sink);

private:
    struct Block {
        std::string path;
        std::string file; /**< its name */
        JCAMPBlock content;
    };
    struct Problem {
        std::string text;
        int line = 0; /**< in its file; 0 for none */
        int code = 0;
    };
    /** What became of a block. */
    struct DecodedBlock {
        std::vector<JCAMPSpectrum> spectra;
        std::vector<Problem> problems;
        std::vector<karta::Note> notes;
    };
    /** Of several blocks of a file that follow each other. */
    struct DecodedBlocks {
        std::vector<DecodedBlock> blocks;
        std::exception_ptr failure;
    };
    struct Part {
        std::size_t block;
        std::string name;
        Problem problem;                    /**< why it can't be read; without a text otherwise */
        std::vector<JCAMPSpectrum> spectra; /**< on one axis */
    };

    void AddBlocks(const std::string& path, std::vector<JCAMPBlock> added, const JCAMPStream& stream);
    DecodedBlock DecodeBlock(const Block& block, JCAMPStream& stream, JCAMPSpectra::Rooms& rooms);
    DecodedBlocks DecodeBlocks(std::size_t begin, std::size_t end, JCAMPStream stream);
    void AddBlock(std::size_t block, DecodedBlock decoded);
    void AddSpectra(std::size_t block, std::vector<JCAMPSpectrum> spectra);
    void AddProblem(std::size_t block, const Problem& problem);
    int DecodeAgain();
    void LetGo(std::size_t row);
    std::vector<std::size_t> ChooseParts(const std::optional<std::vector<std::size_t>>& wanted) const;
    void AddToTable(Part& part);
    void AddPeaks(const std::vector<Part*>& peaks);
    void AddRow(const Part& part, JCAMPSpectrum& spectrum);
    void AddRow(const Part& part, const JCAMPSpectrum& spectrum, const std::vector<double>& peakRow);
    void FindLabelColumns(const std::vector<std::size_t>& chosen);
    std::vector<SpectrumTable::Label> LabelsOf(const Part& part, const JCAMPSpectrum& spectrum) const;
    void AddNote(karta::Note note);
    void NoteTheRest(const std::vector<std::size_t>& chosen) const;
    void FillShape(const JCAMPSpectrum& first);
    std::string NameOf(const Block& block) const;

    karta::ReadContext& context;
    karta::NumberStore numbers;
    SpectrumTexts texts;
    std::size_t numFiles = 0;
    std::size_t numNotes = 0;
    std::vector<Block> blocks;
    std::vector<Part> parts;
    std::vector<std::size_t> chosenParts;
    std::vector<std::string> pageSymbols;  // of the label columns
    bool hasVariable = false;
    bool hasUnit = false;
    SpectrumTable table;
    struct Row {
        JCAMPSpectrum* spectrum;           // of a part; null for a row of peaks
        const std::vector<double>* peaks;  // of peakRows
    };
    std::vector<Row> rows;                     // by the spectra's ids
    std::deque<std::vector<double>> peakRows;  // of several tables of peaks in one
    bool isSpent = false;                      // values were let go of
};
