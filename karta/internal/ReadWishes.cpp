#include "karta/internal/ReadWishes.h"

#include "base/NumberFormat.h"
#include "karta/Error.h"
#include "karta/internal/NumberRange.h"

namespace karta {

namespace {

std::string PartOf(const PartName& part) {
    if (const std::string* name = std::get_if<std::string>(&part)) {
        return *name;
    }
    const int place = std::get<int>(part);
    if (place < 0) {
        throw Error({.code = ErrorCode::BadOption,
                     .option = "part",
                     .text = "takes a name or a place from 1, or 0 for the format's own choice, not " +
                             std::to_string(place)});
    }
    return place == 0 ? std::string() : std::to_string(place);
}

void RefuseWish(bool isWished, const char* option) {
    if (isWished) {
        throw Error({.code = ErrorCode::BadOption,
                     .option = option,
                     .text = "is of one file by itself and can't be asked of many as one table"});
    }
}

}  // namespace

std::string ReadWishes::Selection() const {
    std::string names;
    for (const std::string& file : files) {
        names += names.empty() ? file : "\n" + file;
    }
    return names;
}

ReadWishes MakeWishes(const std::vector<std::string>& files, const ReadOptions& options) {
    ReadWishes wishes;
    wishes.files = files;
    wishes.format = options.format;
    wishes.delimiter = options.delimiter;
    wishes.mergeDelimiters = options.mergeDelimiters;
    wishes.sideBySide = options.sideBySide;
    wishes.part = PartOf(options.part);
    for (const Interval& interval : options.include) {
        wishes.includes.push_back(FormatShortest(interval.from) + ":" + FormatShortest(interval.to));
    }
    wishes.average = options.average;
    wishes.encoding = options.encoding;
    wishes.decimal = options.decimal;
    wishes.header = options.header;
    wishes.textColumns = options.textColumns;
    wishes.noTypes = !options.types;
    wishes.dateOrder = options.dateOrder;
    wishes.rowNames = options.rowNames;
    wishes.columnNames = options.columnNames;
    for (const auto& [key, value] : options.settings) {
        std::string& setting = wishes.settings.emplace_back(key);
        setting += '=';
        setting += value;
    }
    wishes.password = options.password;
    wishes.limit = options.budget;
    // A library has no terminal to ask at.
    wishes.question = options.question ? options.question : [](const std::string&) { return true; };
    wishes.stop = options.stop;
    wishes.reading = options.reading;
    return wishes;
}

ReadOptions MakeReadOptions(const ReadWishes& wishes) {
    RefuseWish(!wishes.sheets.empty(), "sheets");
    RefuseWish(!wishes.blocks.empty(), "blocks");
    RefuseWish(!wishes.matrix.empty(), "matrix");
    RefuseWish(!wishes.want.empty(), "rows");
    RefuseWish(wishes.noXRow, "xRow");
    RefuseWish(wishes.keptOptions.has_value(), "options");
    RefuseWish(wishes.throughDriver, "throughDriver");
    ReadOptions options;
    options.format = wishes.format;
    options.delimiter = wishes.delimiter;
    options.mergeDelimiters = wishes.mergeDelimiters;
    options.sideBySide = wishes.sideBySide;
    if (!wishes.part.empty()) {
        options.part = wishes.part;
    }
    for (const std::string& text : wishes.includes) {
        options.include.push_back(RequireInterval(text));
    }
    options.average = wishes.average;
    options.encoding = wishes.encoding;
    options.decimal = wishes.decimal;
    options.header = wishes.header;
    options.textColumns = wishes.textColumns;
    options.types = !wishes.noTypes;
    options.dateOrder = wishes.dateOrder;
    options.rowNames = wishes.rowNames;
    options.columnNames = wishes.columnNames;
    for (const std::string& text : wishes.settings) {
        const std::size_t equals = text.find('=');
        options.settings[text.substr(0, equals)] =
            equals == std::string::npos ? std::string() : text.substr(equals + 1);
    }
    options.password = wishes.password;
    options.budget = wishes.limit;
    options.question = wishes.question;
    options.stop = wishes.stop;
    options.reading = wishes.reading;
    return options;
}

}  // namespace karta
