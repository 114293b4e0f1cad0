#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Export.h"
#include "base/Reading.h"
#include "karta/ReadOptions.h"

namespace karta {

/**
 * What is wished of one read, in words: what a command line says, and what ReadOptions become. Each wish is
 * called as the program's option of that name, without its dashes.
 */
struct KARTA_EXPORT ReadWishes {
    std::vector<std::string> files;  // one selection
    std::string format;              // empty: detect
    std::optional<std::string> delimiter;
    bool mergeDelimiters = false;
    // Parts of the file, by name or by place in its list from 1, comma-separated; empty: not chosen.
    std::string sheets;
    bool sideBySide = false;
    std::string blocks;
    std::string matrix;
    std::string part;
    std::vector<std::string> includes;  // "A:B"
    std::optional<int> average;
    bool noXRow = false;
    std::optional<std::string> encoding;
    std::optional<std::string> decimal;
    std::optional<int> header;
    std::optional<std::string> textColumns;
    bool noTypes = false;
    std::optional<std::string> dateOrder;
    std::optional<std::string> rowNames;
    std::optional<std::string> columnNames;
    std::vector<std::string> settings;                     // "KEY=VALUE"
    std::optional<std::vector<std::uint8_t>> keptOptions;  // the bytes of a record to replay
    bool wantsChoices = false;                             // the reader is to fill a record with its choices
    bool throughDriver = false;
    std::string want;  // a list of rows, or empty
    std::optional<std::string> password;
    // Tells the password of a file, at the so-many-eth attempt from 0; empty, or nothing: there is none.
    std::function<std::optional<std::string>(const std::string& fileName, int attempt)> askPassword;
    std::optional<std::uint64_t> limit;  // bytes that a read may take; else in proportion to the file
    std::function<bool(const std::string& text)> question;  // empty: the process-wide handler
    std::stop_token stop;
    std::function<void(double share)> progress;  // on the thread that reads; also where nobody knows how far
    karta::Reading reading = karta::Reading::Classic;

    bool IsComplete() const { return reading == karta::Reading::Complete; }

    /** The files as the readers take them: joined by line feeds. */
    std::string Selection() const;
};

/** What ReadOptions ask of these files. Raises Error for what can't be meant. */
KARTA_EXPORT ReadWishes MakeWishes(const std::vector<std::string>& files, const ReadOptions& options);

/**
 * The same back: what the wishes ask of any file. Raises Error (BadOption) for a wish that ReadOptions have
 * no word for (sheets, blocks, matrix, noXRow, want, a record, the driver), and for an interval that is none.
 */
KARTA_EXPORT ReadOptions MakeReadOptions(const ReadWishes& wishes);

}  // namespace karta
