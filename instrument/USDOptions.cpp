#include "instrument/USDOptions.h"

#include <algorithm>
#include <ios>
#include <string>

#include "frame/OptionsText.h"
#include "host/XMLSection.h"

namespace {

// The lengths of the two lists of a record, each as it is in the constraints where the record has none.
struct ListSizes {
    int starts;
    int ends;
};

int SizeOfList(const XMLSection& settings, const char* key, int size) {
    std::vector<float> list;
    return settings.Read(key, list) ? static_cast<int>(list.size()) : size;
}

ListSizes SizesOfLists(const std::string& text, int size) {
    const auto document = XMLSection::CreateXMLSectionFromString(text);
    const XMLSection* settings = document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
    if (settings == nullptr) {
        return {size, size};
    }
    return {SizeOfList(*settings, USDBase::StartPointsKey, size),
            SizeOfList(*settings, USDBase::EndPointsKey, size)};
}

// Longer arrays with the same values, so that a stored list fits.
void GrowArrays(USDConstraints& constraints, int size) {
    if (size <= constraints.numIntervals) {
        return;
    }
    USDConstraints grown;
    grown.SetArrays(size);
    std::copy_n(constraints.startPoints, std::max(constraints.numIntervals, 0), grown.startPoints);
    std::copy_n(constraints.endPoints, std::max(constraints.numIntervals, 0), grown.endPoints);
    std::swap(grown.startPoints, constraints.startPoints);
    std::swap(grown.endPoints, constraints.endPoints);
}

}  // namespace

void ReadUSDOptions(const NvImportOpenOptions& options, USDConstraints& constraints) {
    const std::string text = DecodeOptionsText(options);
    const ListSizes sizes = SizesOfLists(text, constraints.numIntervals);
    GrowArrays(constraints, std::max(sizes.starts, sizes.ends));
    if (USDBase::GetUSDConstraintsFromString(text, &constraints) &&
        (constraints.numIntervals != sizes.starts || constraints.numIntervals != sizes.ends)) {
        throw std::ios_base::failure("the lists of intervals and their count disagree");
    }
}

void LendUSDOptions(USDConstraints& constraints, std::vector<std::uint8_t>& memory,
                    NvImportOpenOptions& options) {
    std::string text;
    USDBase::GetStringFromUSDConstraints(&constraints, text);
    LendOptions(text, memory, options);
}
