#include "karta/Scan.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <numeric>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <utility>
#include <variant>

#include "base/NumberFormat.h"
#include "base/OrderedWork.h"
#include "karta/internal/AxisGrid.h"
#include "karta/internal/FormatOptions.h"
#include "karta/internal/ScanSchema.h"
#include "karta/internal/Selection.h"
#include "karta/internal/UnitName.h"

namespace karta {

namespace {

/** What became of a file. Of this source alone, so that the threads' work with it isn't exported either. */
struct Outcome : std::variant<Table, Error> {
    using variant::variant;
};

// What a scan that looks at all files first keeps of the tables that it then hands out.
constexpr std::uint64_t MostKeptBytes = std::uint64_t{1} << 30;

// Of axes, which rise or fall throughout.
bool Overlap(std::span<const double> left, std::span<const double> right) {
    const auto [leftLow, leftHigh] = std::minmax(left.front(), left.back());
    const auto [rightLow, rightHigh] = std::minmax(right.front(), right.back());
    return leftLow <= rightHigh && rightLow <= leftHigh;
}

std::string RangeOf(std::span<const double> axis) {
    return "goes from " + FormatShortest(axis.front()) + " to " + FormatShortest(axis.back());
}

std::uint64_t SizeOf(const SharedBuffer& buffer) {
    return buffer == nullptr ? 0 : buffer->GetSize();
}

std::uint64_t SizeOf(const Table& table) {
    constexpr std::uint64_t SizeOfHead = 256;
    std::uint64_t size = SizeOfHead * (1 + table.GetParts().heads.size());
    for (const Column& column : table.GetColumns()) {
        const ColumnBuffers& buffers = column.GetBuffers();
        size += SizeOfHead + SizeOf(buffers.values) + SizeOf(buffers.text) + SizeOf(buffers.validity);
        if (buffers.dictionary != nullptr) {
            size += SizeOf(buffers.dictionary->GetBuffers().text);
        }
    }
    if (const Block* block = table.GetBlock()) {
        size += SizeOf(block->GetParts().values) + SizeOf(block->GetParts().axis);
    }
    return size;
}

Error WithFile(const std::string& file, ErrorCode code, const std::string& text) {
    return Error({.code = code, .file = file, .text = text});
}

}  // namespace

Grid::Grid(std::vector<double> gridPoints) : kind(Array), points(std::move(gridPoints)) {}

/** A scan on its way. */
class Scan::Work {
public:
    Work(std::vector<std::string> paths, ScanOptions scanOptions)
        : files(std::move(paths)),
          options(std::move(scanOptions)),
          progress(std::exchange(options.read.progress, {})),
          onStop(options.read.stop, [this] { stop.request_stop(); }),
          points(options.grid.GetPoints()),
          start(options.columns) {
        if (options.grid.GetKind() == Grid::Array && (points.empty() || !IsAxis(points))) {
            throw Error({.code = ErrorCode::BadOption,
                         .option = "grid",
                         .text = "takes points that rise or fall throughout"});
        }
        options.batch = std::max<std::size_t>(options.batch, 1);
        options.read.stop = stop.get_token();
        formats = LoadFormats(options.read.plugins);
    }
    ~Work() {
        stop.request_stop();
        ahead.reset();
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    Table* Next() {
        if (!hasBegun) {
            Begin();
        }
        for (;;) {
            if (pending) {
                // The tables before the file that failed went out first.
                const Error error = *pending;
                pending.reset();
                place = files.size();
                throw error;
            }
            if (place == files.size()) {
                return nullptr;
            }
            if (TakeBatch()) {
                return &batch;
            }
        }
    }

    const std::vector<Error>& Errors() const { return errors; }

private:
    // False where no file of the batch could be read.
    bool TakeBatch() {
        std::vector<Table> tables;
        std::vector<std::string> names;
        const bool isFirst = !schema.has_value();
        ScanSchema building = isFirst ? start : *schema;
        for (std::size_t taken = 0; place < files.size() && taken < options.batch && !pending; ++taken) {
            const std::string& file = files[place++];
            TakeFile(file, TakeOutcome(place - 1), isFirst, building, tables, names);
            if (progress) {
                progress(static_cast<double>(place) / static_cast<double>(files.size()));
            }
        }
        if (tables.empty()) {
            return false;
        }
        schema = std::move(building);
        batch = schema->Join(tables, names);
        return true;
    }

    Outcome ReadFile(const std::string& file) const {
        try {
            return Selection({file}, options.read, formats, UnknownOptions::AreDropped)
                .Read(options.read.part);
        } catch (const Error& error) {
            return error;
        } catch (const std::exception& exception) {
            return WithFile(file, ErrorCode::BadFile, exception.what());
        }
    }

    std::unique_ptr<OrderedWork<Outcome>> StartReading(const std::vector<std::size_t>& places) const {
        return std::make_unique<OrderedWork<Outcome>>(
            places.size(), ChooseThreadCount(options.workers, places.size()),
            [this, &places](std::size_t job) { return ReadFile(files[places[job]]); });
    }

    Outcome TakeOutcome(std::size_t file) {
        const auto known = kept.find(file);
        if (known == kept.end()) {
            return ahead->Take();
        }
        Outcome outcome = std::move(known->second);
        kept.erase(known);
        return outcome;
    }

    void Begin() {
        CheckOptions();
        const bool wantsAxes =
            options.grid.GetKind() == Grid::Common || options.grid.GetKind() == Grid::Union;
        if (wantsAxes || (options.columns == ScanColumns::Union && files.size() > options.batch)) {
            LookAtAll(wantsAxes);
        }
        for (std::size_t file = 0; file < files.size(); ++file) {
            if (!kept.contains(file)) {
                filesToRead.push_back(file);
            }
        }
        ahead = StartReading(filesToRead);
        hasBegun = true;
    }

    // An option is for the formats that know it, but one of them must.
    void CheckOptions() const {
        std::vector<std::string> unknown = GivenFormatOptions(MakeWishes({}, [this] {
            ReadOptions withoutHeader = options.read;
            withoutHeader.header.reset();
            return withoutHeader;
        }()));
        std::optional<Error> refusal;
        for (const std::string& file : files) {
            if (unknown.empty()) {
                return;
            }
            try {
                const int format =
                    Selection({file}, options.read, formats, UnknownOptions::AreDropped).GetFormatNumber();
                std::erase_if(unknown, [&](const std::string& option) {
                    return KnowsOption(*formats, format, option, options.read.reading) ||
                           !formats->IsOwn(format);
                });
                if (!unknown.empty() && !refusal) {
                    const Selection strict({file}, options.read, formats);
                }
            } catch (const Error& error) {
                if (error.GetCode() == ErrorCode::UnknownOption) {
                    refusal = error;
                }
            }
        }
        if (!unknown.empty() && refusal) {
            throw *refusal;
        }
    }

    // What the grid and the columns are made of. What can't be read is told when its turn comes. The tables
    // are kept for it as far as there is room: what is beyond is read again.
    void LookAtAll(bool wantsAxes) {
        AxisUnion all;
        AxisIntersection shared;
        std::string unit;
        const auto look = [&](const Table& table) {
            if (options.columns == ScanColumns::Union) {
                LookAtColumns(table);
            }
            const Block* const block = table.GetBlock();
            if (block == nullptr || !IsAxis(block->GetAxis())) {
                return;
            }
            unit = unit.empty() ? UsualUnit(block->GetAxisUnit()) : unit;
            if (block->GetAxisUnit().empty() || UsualUnit(block->GetAxisUnit()) == unit) {
                all.Add(block->GetAxis());
                shared.Add(block->GetAxis());
            }
        };
        std::vector<std::size_t> places(files.size());
        std::iota(places.begin(), places.end(), std::size_t{0});
        const auto looking = StartReading(places);
        std::uint64_t keptBytes = 0;
        for (std::size_t file = 0; file < files.size(); ++file) {
            Outcome outcome = looking->Take();
            if (const Error* const error = std::get_if<Error>(&outcome);
                error != nullptr && error->GetCode() == ErrorCode::Stopped) {
                throw *error;
            }
            const Table* const table = std::get_if<Table>(&outcome);
            if (table != nullptr) {
                look(*table);
            }
            const std::uint64_t size = table == nullptr ? 0 : SizeOf(*table);
            if (size <= MostKeptBytes - keptBytes) {
                keptBytes += size;
                kept.emplace(file, std::move(outcome));
            }
        }
        if (!wantsAxes) {
            return;
        }
        points = options.grid.GetKind() == Grid::Union ? all.Take() : shared.Take();
        if (points.empty()) {
            throw Error({.code = ErrorCode::DoesNotFit,
                         .option = "grid",
                         .text = "the files have no points in common"});
        }
    }

    void LookAtColumns(const Table& table) {
        try {
            start.WidenColumns(table);
        } catch (const Misfit&) {
            // Told when the file is read for its rows.
        }
    }

    // The table on the grid.
    Table OnGrid(const Table& table) {
        if (options.grid.GetKind() == Grid::None || table.GetBlock() == nullptr) {
            return table;
        }
        const Block& block = *table.GetBlock();
        if (block.GetAxis().empty() || !IsAxis(block.GetAxis())) {
            throw Misfit{
                "it has no axis that rises or falls throughout, so there is nothing to interpolate by"};
        }
        if (points.empty()) {
            points.assign(block.GetAxis().begin(), block.GetAxis().end());
        }
        TableParts parts = table.GetParts();
        if (!Overlap(block.GetAxis(), points)) {
            parts.notes.push_back({"off-grid", 1, "",
                                   "no point of the grid lies on the axis, which " +
                                       RangeOf(block.GetAxis()) + ": all its numbers are missing"});
        }
        parts.block = PutOnGrid(block, points);
        return Table(std::move(parts));
    }

    void TakeFile(const std::string& file, Outcome outcome, bool isFirst, ScanSchema& building,
                  std::vector<Table>& tables, std::vector<std::string>& names) {
        if (const Error* error = std::get_if<Error>(&outcome)) {
            Fail(*error);
            return;
        }
        try {
            const Table table = OnGrid(std::get<Table>(outcome));
            if (isFirst) {
                building.Widen(table);
            } else {
                building.Check(table);
            }
            tables.push_back(table);
            names.push_back(file);
        } catch (const Misfit& misfit) {
            Fail(WithFile(file, ErrorCode::DoesNotFit, "doesn't fit the first files: " + misfit.text));
        }
    }

    void Fail(const Error& error) {
        if (options.onError == OnError::Raise || error.GetCode() == ErrorCode::Stopped) {
            pending = error;
        } else if (options.onError == OnError::Collect) {
            errors.push_back(error);
        }
    }

    std::vector<std::string> files;
    ScanOptions options;
    std::function<void(double)> progress;
    std::stop_source stop;
    std::stop_callback<std::function<void()>> onStop;
    std::vector<double> points;
    std::shared_ptr<FormatCatalogue> formats;
    bool hasBegun = false;
    std::map<std::size_t, Outcome> kept;   // what was read already, by the files' places
    std::vector<std::size_t> filesToRead;  // the others
    std::unique_ptr<OrderedWork<Outcome>> ahead;
    std::size_t place = 0;
    ScanSchema start;  // of the first batch: what is known before
    std::optional<ScanSchema> schema;
    std::optional<Error> pending;
    std::vector<Error> errors;
    Table batch;
};

Scan::Scan(std::vector<std::string> paths, ScanOptions options)
    : work(std::make_unique<Work>(std::move(paths), std::move(options))) {}

Scan::Scan(Scan&& other) noexcept = default;
Scan& Scan::operator=(Scan&& other) noexcept = default;
Scan::~Scan() = default;

Table* Scan::Next() {
    return work->Next();
}

const std::vector<Error>& Scan::Errors() const {
    return work->Errors();
}

}  // namespace karta
