#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Note.h"
#include "instrument/SPCHeader.h"
#include "instrument/SpectrumTable.h"
#include "instrument/SpectrumTexts.h"

/** One spectrum of a file: where it lies and what its header says. */
struct SPCSubFile {
    std::size_t xPosition = 0; /**< of its own X values */
    std::size_t yPosition = 0;
    std::size_t points = 0; /**< as many as the file has bytes for */
    SPCValueForm values;
    float z = 0.0F;
    float w = 0.0F;
    int numScans = 0; /**< 0 where the file doesn't tell */
};

/**
 * All that an SPC file holds, as its headers lie: every sub-file, of both formats and with X values of its
 * own or not, the axis, and the log. Values are decoded when they are asked for.
 */
class SPCContents {
public:
    /** Takes the layout from the bytes; a header that isn't there gives no sub-files. */
    SPCContents(std::span<const std::uint8_t> bytes, SPCLayout layout);

    bool HasHeader() const { return hasHeader; }
    const SPCHeader& GetHeader() const { return header; }
    const std::vector<SPCSubFile>& GetSubFiles() const { return subFiles; }
    /** Whether one axis is all sub-files': otherwise each has its own. */
    bool HasCommonAxis() const { return hasCommonAxis; }
    /** The axis of all sub-files, or of this one. */
    const std::vector<double>& GetAxis() const { return axis; }
    std::vector<double> ReadAxis(std::span<const std::uint8_t> bytes, const SPCSubFile& subFile) const;
    /** Whether the file has the X values as floats. */
    bool HasFloatAxis() const { return header.hasXYPairs || header.hasXArray; }
    /** The text of the log, lines and all. */
    const std::string& GetLog() const { return log; }
    /** How many bytes the log has beside its text, which only the program that wrote them knows. */
    std::uint64_t GetLogBytes() const { return logBytes; }
    /** Makes UTF-8 of the header's texts and the log. */
    void DecodeTexts(SpectrumTexts& texts);
    /** What isn't as the headers say. */
    const std::vector<karta::Note>& GetNotes() const { return notes; }

    /** Whether every sub-file that the header tells of is whole. */
    bool IsWhole() const { return isWhole; }

    /** Whether the headers tell of nothing but what is there: then the bytes are an SPC file's. */
    bool IsPlausible() const;

    static void ReadValues(std::span<const std::uint8_t> bytes, const SPCSubFile& subFile,
                           SpectrumTable::Values& values);

private:
    void FindSubFiles(std::span<const std::uint8_t> bytes);
    bool AddSubFile(std::span<const std::uint8_t> bytes, std::uint64_t& position);
    void CheckDirectory(std::span<const std::uint8_t> bytes);
    void MakeAxis(std::span<const std::uint8_t> bytes);
    void ReadLog(std::span<const std::uint8_t> bytes);
    void AddNote(const char* code, std::uint64_t count, const std::string& place, const std::string& text);

    SPCHeader header;
    bool hasHeader = false;
    std::vector<SPCSubFile> subFiles;
    std::vector<std::size_t> starts;  // of each sub-file's header
    bool hasCommonAxis = true;
    bool isWhole = true;
    std::size_t end = 0;  // behind the last sub-file
    std::vector<float> xArray;
    std::vector<double> axis;
    std::string log;
    std::uint64_t logBytes = 0;
    std::vector<karta::Note> notes;
};
