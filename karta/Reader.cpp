#include "karta/Reader.h"

#include <utility>

#include "karta/internal/Selection.h"

namespace karta {

struct Reader::State {
    Selection selection;
};

Reader::Reader(const std::string& path, ReadOptions options)
    : Reader(std::vector{path}, std::move(options)) {}

Reader::Reader(const std::vector<std::string>& paths, ReadOptions options) {
    auto formats = LoadFormats(options.plugins);
    state = std::make_unique<State>(Selection(paths, std::move(options), std::move(formats)));
}

Reader::Reader(Reader&& other) noexcept = default;
Reader& Reader::operator=(Reader&& other) noexcept = default;
Reader::~Reader() = default;

const std::string& Reader::GetFormat() const {
    return state->selection.GetFormat();
}

const std::string& Reader::GetReason() const {
    return state->selection.GetReason();
}

Inspection Reader::Inspect() const {
    return state->selection.Inspect();
}

Table Reader::Read() const {
    return Read(state->selection.GetOptions().part);
}

Table Reader::Read(const PartName& part) const {
    return state->selection.Read(part);
}

void Reader::ForEachBatch(std::int64_t rows, const BatchFunction& use) const {
    state->selection.ForEachBatch(state->selection.GetOptions().part, rows, use);
}

}  // namespace karta
