#include "frame/FormatRecogniser.h"

#include <functional>
#include <map>
#include <utility>

namespace {

using Registry = std::map<std::string, const FormatRecogniser*, std::less<>>;

// The recognisers are statics of many source files: the first of them makes the registry.
Registry& TheRegistry() {
    static Registry registry;
    return registry;
}

}  // namespace

FormatRecogniser::FormatRecogniser(const char* formatName_, const char* shortName_,
                                   std::vector<std::string> extensions_, Test test_)
    : formatName(formatName_), shortName(shortName_), extensions(std::move(extensions_)), test(test_) {
    TheRegistry()[formatName] = this;
}

FormatRecogniser::~FormatRecogniser() {
    TheRegistry().erase(formatName);
}

FormatRecogniser::Evidence FormatRecogniser::Recognise(const char* path, std::string_view head) const {
    return test == nullptr ? Evidence::None : test(path, head);
}

const FormatRecogniser* FormatRecogniser::Find(std::string_view name) {
    const auto found = TheRegistry().find(name);
    return found == TheRegistry().end() ? nullptr : found->second;
}

std::vector<const FormatRecogniser*> FormatRecogniser::GetAll() {
    std::vector<const FormatRecogniser*> all;
    for (const auto& [name, recogniser] : TheRegistry()) {
        all.push_back(recogniser);
    }
    return all;
}
