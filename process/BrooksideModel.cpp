#include "process/BrooksideModel.h"

#include <cstring>
#include <limits>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>

#include "base/Exception.h"
#include "base/PathNames.h"
#include "host/FNClass.h"
#include "process/BrooksideDom.h"

namespace {

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && EqualIgnoringCase(text.substr(0, start.size()), start);
}

/** Builds the model from a parsed document. */
class ModelBuilder {
public:
    ModelBuilder(BrooksideModel& result, std::map<const xercesc::DOMNode*, RawDataText>& rawTexts,
                 karta::Reading how)
        : model(result), texts(rawTexts), reading(how) {}

    void ReadDOM(const xercesc::DOMDocument* document) {
        const xercesc::DOMNode* request = FindRequiredNode(document->getFirstChild(), "FDCRequest");
        const xercesc::DOMNode* children = request->getFirstChild();
        const xercesc::DOMNode* system = FindElement(children, "APCSystemName");
        const xercesc::DOMNode* logistics = FindElement(children, "Logistics");
        const xercesc::DOMNode* trend = FindRequiredNode(children, "Trend");
        const xercesc::DOMNode* dataset = FindRequiredNode(trend->getFirstChild(), "dataset");
        const xercesc::DOMNode* response = FindElement(children, "Response");

        auto& attributes = model.attributes;
        attributes[BrooksideModel::AttributeAPCSystem] = Text(system, "ID");
        attributes[BrooksideModel::AttributeMessageSequence] = Text(request, "MessageSequenceIdentifier");
        attributes[BrooksideModel::AttributeFDCModel] = Text(logistics, "FDCModel");
        attributes[BrooksideModel::AttributeRecipe] = Text(logistics, "RecipeID");
        attributes[BrooksideModel::AttributeControlJob] = Text(logistics, "ControlJobID");
        attributes[BrooksideModel::AttributeEquipment] = Text(logistics, "EquipmentID");
        attributes[BrooksideModel::AttributeToolType] = Text(logistics, "ToolType");
        attributes[BrooksideModel::AttributeResource] = Text(logistics, "ResourceID");
        attributes[BrooksideModel::AttributeTopic] = Text(response, "TopicName");
        if (logistics != nullptr) {
            FindAttribute(logistics, "chamberRecipe", attributes[BrooksideModel::AttributeChamberRecipe]);
        }
        attributes[BrooksideModel::AttributeTrend] = Text(trend, "Name");

        ReadWafers(dataset);
        ReadRawData(FindRequiredNode(children, "RawData"));
    }

private:
    // Each before those of the same raw text and first row, as a lower bound puts it.
    void ReadWafers(const xercesc::DOMNode* dataset) {
        struct Place {
            std::string rawData;
            int from;
            bool operator<(const Place& other) const {
                return std::tie(rawData, from) < std::tie(other.rawData, other.from);
            }
        };
        std::multimap<Place, BrooksideModel::WaferRecord> sorted;
        for (; dataset != nullptr; dataset = FindNode(dataset->getNextSibling(), "dataset")) {
            BrooksideModel::WaferRecord wafer = ReadWafer(dataset);
            Place place{ToLowerCase(wafer.attributes[BrooksideModel::WaferRawData]),
                        wafer.phases.empty() ? 0 : wafer.phases.front().from};
            const auto next = sorted.lower_bound(place);
            sorted.emplace_hint(next, std::move(place), std::move(wafer));
        }
        for (auto& [place, wafer] : sorted) {
            model.wafers.push_back(std::move(wafer));
        }
    }

    BrooksideModel::WaferRecord ReadWafer(const xercesc::DOMNode* dataset) {
        BrooksideModel::WaferRecord wafer;
        wafer.waferID = Text(dataset, "WaferID");
        wafer.tableID = wafer.waferID;
        auto& attributes = wafer.attributes;
        attributes[BrooksideModel::WaferRawData] = FNClass(Text(dataset, "rawDataName")).GetNameAndExt();
        attributes[BrooksideModel::WaferLot] = Text(dataset, "LotID");
        attributes[BrooksideModel::WaferSlot] = Text(dataset, "SlotID");
        attributes[BrooksideModel::WaferRoute] = Text(dataset, "RouteID");
        attributes[BrooksideModel::WaferProduct] = Text(dataset, "ProductID");
        attributes[BrooksideModel::WaferOperationNumber] = Text(dataset, "OperationNumber");
        attributes[BrooksideModel::WaferOperationName] = Text(dataset, "OperationName");
        attributes[BrooksideModel::WaferOperationPassCount] = Text(dataset, "OPERATIONPASSCOUNT");
        attributes[BrooksideModel::WaferPriorityClass] = Text(dataset, "PriorityClass");
        attributes[BrooksideModel::WaferLineCode] = Text(dataset, "LineCode");
        attributes[BrooksideModel::WaferJobClass] = Text(dataset, "JobClass");
        attributes[BrooksideModel::WaferQualityCode] = Text(dataset, "QualityCode");

        std::multimap<int, BrooksideModel::PhaseRecord> sorted;
        const xercesc::DOMNode* interval = FindNode(dataset->getFirstChild(), "Interval");
        for (; interval != nullptr; interval = FindNode(interval->getNextSibling(), "Interval")) {
            BrooksideModel::PhaseRecord phase = ReadPhase(interval);
            const auto next = sorted.lower_bound(phase.from);
            sorted.emplace_hint(next, phase.from, std::move(phase));
        }
        for (auto& [from, phase] : sorted) {
            wafer.phases.push_back(std::move(phase));
        }
        return wafer;
    }

    BrooksideModel::PhaseRecord ReadPhase(const xercesc::DOMNode* interval) {
        BrooksideModel::PhaseRecord phase;
        phase.name = Text(interval, "Name");
        phase.isBackground = StartsWithIgnoringCase(phase.name, "b_");
        if (!phase.isBackground && !StartsWithIgnoringCase(phase.name, "f_")) {
            model.apstat = true;
        }
        phase.number = Text(interval, "Number");
        // Rows that can't be told are none.
        phase.from = Value(interval, "FromRow", GetIntAttribute, std::numeric_limits<int>::max());
        phase.to = Value(interval, "ToRow", GetIntAttribute, 0);
        phase.duration = Float(interval, "Duration");
        phase.startTime = Text(interval, "StartTime");
        const xercesc::DOMNode* node = FindNode(interval->getFirstChild(), "sumdata");
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "sumdata")) {
            BrooksideModel::SumData& sum = phase.sumData.emplace_back();
            sum.name = Text(node, "Name");
            FindAttribute(node, "StatName", sum.statName);
            sum.value = Text(node, "Value");
        }
        node = FindNode(interval->getFirstChild(), "RecipeParameter");
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "RecipeParameter")) {
            BrooksideModel::RecipeParameter& parameter = phase.recipeParameters.emplace_back();
            parameter.name = Text(node, "Name");
            parameter.value = Float(node, "Value");
            parameter.lowerLimit = Float(node, "ValueLowerLimit");
            parameter.upperLimit = Float(node, "ValueUpperLimit");
            parameter.useCurrentValue = Value(node, "UseCurrentValueFlag", GetBoolAttribute, false);
        }
        return phase;
    }

    // Of two texts of one name the later counts.
    void ReadRawData(const xercesc::DOMNode* node) {
        for (; node != nullptr; node = FindNode(node->getNextSibling(), "RawData")) {
            const std::string name = Text(node, "Name");
            const auto found = texts.find(node);
            const bool isComplete = reading == karta::Reading::Complete;
            if (model.rawData.contains(FNClass(name).GetNameAndExt()) && model.replacedRawData++ == 0) {
                model.firstReplacedRawData = name;
            }
            if (found == texts.end() && isComplete) {
                model.rawData[FNClass(name).GetNameAndExt()] = {};
                continue;
            }
            if (found == texts.end()) {
                throw Exception("Could not find RawData for file '" + name + "'");
            }
            if (!found->second.hasMark && !isComplete) {
                throw Exception("The RawData section '" + name + "' does not contain the string '" +
                                std::string(BrooksideDomParser::EndMark) + "'");
            }
            model.rawData[FNClass(name).GetNameAndExt()] = std::move(found->second.text);
        }
    }

    // An element that only the classic rule needs.
    const xercesc::DOMNode* FindElement(const xercesc::DOMNode* start, const char* name) const {
        return reading == karta::Reading::Complete ? FindNode(start, name) : FindRequiredNode(start, name);
    }

    // Whether an attribute can be asked for. By the classic rule it must be there, and asking finds out.
    bool IsThere(const xercesc::DOMNode* node, const char* name) {
        std::string value;
        if (reading == karta::Reading::Classic || (node != nullptr && FindAttribute(node, name, value))) {
            return true;
        }
        CountMissing(name);
        return false;
    }

    void CountMissing(const char* name) {
        if (model.missingAttributes++ == 0) {
            model.firstMissingAttribute = name;
        }
    }

    // By the classic rule an attribute of another kind than it must be ends the read; by the complete one it
    // costs itself.
    template <class Read, class Result>
    Result Value(const xercesc::DOMNode* node, const char* name, Read read, Result otherwise) {
        if (!IsThere(node, name)) {
            return otherwise;
        }
        try {
            return read(node, name);
        } catch (const Exception&) {
            if (reading == karta::Reading::Classic) {
                throw;
            }
            CountMissing(name);
            return otherwise;
        }
    }

    std::string Text(const xercesc::DOMNode* node, const char* name) {
        return IsThere(node, name) ? GetTextAttribute(node, name) : std::string();
    }

    float Float(const xercesc::DOMNode* node, const char* name) {
        return Value(node, name, GetFloatAttribute, 0.0F);
    }

    BrooksideModel& model;
    std::map<const xercesc::DOMNode*, RawDataText>& texts;
    karta::Reading reading;
};

}  // namespace

BrooksideModel ReadBrooksideModel(const BrooksideDocument& document, karta::Reading reading) {
    BrooksideDomParser parser(nullptr, reading == karta::Reading::Complete ? BrooksideDomParser::AllText
                                                                           : BrooksideDomParser::FirstRun);
    StrictErrorHandler errorHandler;
    parser.setValidationScheme(xercesc::XercesDOMParser::Val_Never);
    parser.setErrorHandler(&errorHandler);
    parser.setLoadExternalDTD(false);
    if (document.path != nullptr) {
        ParseFile(parser, document.path);
    } else {
        parser.parse(xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(document.text),
                                                std::strlen(document.text), document.id));
    }
    BrooksideModel model;
    ModelBuilder(model, parser.GetRawData(), reading).ReadDOM(parser.getDocument());
    return model;
}
