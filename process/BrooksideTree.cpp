#include "process/BrooksideTree.h"

#include <algorithm>
#include <array>

#include "base/Exception.h"
#include "base/NumberParser.h"
#include "base/PathNames.h"
#include "host/NvString.h"

namespace {

constexpr std::string_view RawDataName = "RawData";

// All that is ever looked for; what stands within others can't be found.
constexpr std::array<std::string_view, 10> AskedNames = {
    "FDCRequest", "APCSystemName", "Logistics", "Trend",           "Response",
    "DataSet",    "Interval",      "SumData",   "RecipeParameter", RawDataName};

std::string GetTrimmedAttribute(const BrooksideElement* element, const char* name) {
    return std::string(TrimSpace(GetTextAttribute(element, name)));
}

}  // namespace

BrooksideElement& BrooksideTree::Begin(std::string name,
                                       std::vector<BrooksideElement::Attribute> attributes) {
    BrooksideElement& element = elements.emplace_back();
    element.name = std::move(name);
    element.attributes = std::move(attributes);
    if (!open.empty()) {
        OpenElement& parent = open.back();
        (parent.lastChild == nullptr ? parent.element->firstChild : parent.lastChild->nextSibling) = &element;
        parent.lastChild = &element;
    }
    open.push_back({&element, nullptr});
    return element;
}

bool BrooksideTree::IsAskedFor(std::string_view name) {
    return std::any_of(AskedNames.begin(), AskedNames.end(),
                       [name](std::string_view asked) { return EqualIgnoringCase(asked, name); });
}

bool BrooksideTree::IsRawData(std::string_view name) {
    return EqualIgnoringCase(name, RawDataName);
}

// What was just copied is looked through: later it would come from memory again.
void RawDataText::Append(std::string_view more) {
    if (hasMark) {
        return;
    }
    const std::size_t known = text.size();
    text.append(more);
    const std::size_t mark = text.find(EndMark, known < EndMark.size() ? 0 : known - EndMark.size() + 1);
    hasMark = mark != std::string::npos;
    text.resize(hasMark ? mark : text.size());
}

BrooksideElement* FindNode(BrooksideElement* start, const char* name) {
    while (start != nullptr && !EqualIgnoringCase(start->name, name)) {
        start = start->nextSibling;
    }
    return start;
}

BrooksideElement* FindRequiredNode(BrooksideElement* start, const char* name) {
    BrooksideElement* const element = FindNode(start, name);
    if (element == nullptr) {
        throw Exception(std::string("XML node '") + name + "' not found");
    }
    return element;
}

bool FindAttribute(const BrooksideElement* element, const char* name, std::string& value) {
    for (const BrooksideElement::Attribute& attribute : element->attributes) {
        if (EqualIgnoringCase(attribute.name, name)) {
            value = attribute.value;
            return true;
        }
    }
    return false;
}

std::string GetTextAttribute(const BrooksideElement* element, const char* name) {
    std::string value;
    if (!FindAttribute(element, name, value)) {
        throw Exception(std::string("The attribute '") + name + "' could not be found.");
    }
    return value;
}

float GetFloatAttribute(const BrooksideElement* element, const char* name) {
    const std::string text = GetTrimmedAttribute(element, name);
    char* end = nullptr;
    const double value = NvString::nvstrtod(text.c_str(), &end);
    if (text.empty() || *end != '\0') {
        throw Exception(std::string("Expected a floating point value for '") + name + "', found '" + text +
                        "'");
    }
    return static_cast<float>(value);
}

int GetIntAttribute(const BrooksideElement* element, const char* name) {
    const std::string text = GetTrimmedAttribute(element, name);
    int value = 0;
    if (text.empty() || ParseInt(text, value) != text.size()) {
        throw Exception(std::string("Expected an integer value for '") + name + "', found '" + text + "'");
    }
    return value;
}

bool GetBoolAttribute(const BrooksideElement* element, const char* name) {
    const std::string text = GetTrimmedAttribute(element, name);
    const bool value = EqualIgnoringCase(text, "true");
    if (!value && !EqualIgnoringCase(text, "false")) {
        throw Exception(std::string("Expected true of false for '") + name + "', found '" + text + "'");
    }
    return value;
}
