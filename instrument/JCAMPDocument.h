#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Note.h"

class JCAMPStream;
class SpectrumTexts;

/** A labelled record. */
struct JCAMPRecord {
    std::string label; /**< as it tells labels apart: "XUNITS", ".OBSERVEFREQUENCY" */
    std::string name;  /**< as the file writes it */
    std::string value; /**< without comments; of several lines where it goes on */
};

/** A record behind whose label data stand. */
struct JCAMPDataTable {
    std::string label;          /**< "XYDATA", "PEAKTABLE" ... */
    std::string form;           /**< "(X++(Y..Y))" and what follows */
    std::uint64_t position = 0; /**< of the first byte of the data */
    int line = 0;               /**< of the label */
    std::shared_ptr<const std::string>
        page; /**< the value of the ##PAGE= before it; null where there is none */
    /** What its page says of the variables anew, of each label the last: the tables of a page share them. */
    std::vector<std::shared_ptr<const JCAMPRecord>> pageRecords;

    std::string_view GetPage() const { return page == nullptr ? std::string_view() : *page; }
};

/** What stands between a ##TITLE= and its ##END=, other blocks aside. */
struct JCAMPBlock {
    std::string title;
    int line = 0;
    bool isLink = false; /**< holds other blocks */
    bool isBinary = false;
    std::vector<JCAMPRecord> records;
    std::vector<JCAMPDataTable> tables;

    /** The value of the last record of this label; empty where there is none. */
    std::string_view Find(std::string_view label) const;
};

/** The labels and blocks of one JCAMP-DX file; no data are decoded. */
class JCAMPDocument {
public:
    /** Reads the whole stream; both stay the caller's and are used only here. */
    JCAMPDocument(JCAMPStream& stream, SpectrumTexts& texts);

    /** Whether the first label is one that a file begins with. */
    bool IsJCAMP() const { return isJCAMP; }
    /** In the order of their titles. */
    std::vector<JCAMPBlock> TakeBlocks() { return std::move(blocks); }
    /** What isn't as the format has it. */
    const std::vector<karta::Note>& GetNotes() const { return notes; }

private:
    void TakeLabel(std::string_view line, JCAMPStream& stream);
    void TakeText(std::string_view line);
    void OpenBlock(const std::string& title);
    void CloseBlock();
    void TakePageRecord(JCAMPRecord record);
    void AddTable(JCAMPRecord record, JCAMPStream& stream);
    void NoteUnended();
    void NoteBlockCount();
    JCAMPBlock& Current() { return blocks[open.back()]; }

    SpectrumTexts& texts;
    bool isJCAMP = false;
    int lineNumber = 0;
    std::vector<JCAMPBlock> blocks;
    std::vector<std::size_t> open;      // the blocks that the reading is in, the innermost last
    JCAMPRecord* lastRecord = nullptr;  // of the open block: text goes on to it; null in data
    std::shared_ptr<const std::string> page;
    std::vector<std::shared_ptr<JCAMPRecord>> pageRecords;
    bool inPage = false;
    int unended = 0;
    int firstUnended = 0;
    std::vector<karta::Note> notes;
};
