#include "process/BrooksideModel.h"

#include <limits>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "base/Exception.h"
#include "base/PathNames.h"
#include "host/FNClass.h"
#include "process/BrooksideParse.h"

namespace {

bool StartsWithIgnoringCase(std::string_view text, std::string_view start) {
    return text.size() >= start.size() && EqualIgnoringCase(text.substr(0, start.size()), start);
}

/** Builds the model from a parsed document. */
class ModelBuilder {
public:
    ModelBuilder(BrooksideModel& result, karta::Reading how) : model(result), reading(how) {}

    void ReadTree(BrooksideTree& document) {
        BrooksideElement* const request = FindRequiredNode(document.GetRoot(), "FDCRequest");
        BrooksideElement* const children = request->firstChild;
        BrooksideElement* const system = FindElement(children, "APCSystemName");
        BrooksideElement* const logistics = FindElement(children, "Logistics");
        BrooksideElement* const trend = FindRequiredNode(children, "Trend");
        BrooksideElement* const dataset = FindRequiredNode(trend->firstChild, "dataset");
        BrooksideElement* const response = FindElement(children, "Response");

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
    void ReadWafers(BrooksideElement* dataset) {
        struct Place {
            std::string rawData;
            int from;
            bool operator<(const Place& other) const {
                return std::tie(rawData, from) < std::tie(other.rawData, other.from);
            }
        };
        std::multimap<Place, BrooksideModel::WaferRecord> sorted;
        for (; dataset != nullptr; dataset = FindNode(dataset->nextSibling, "dataset")) {
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

    BrooksideModel::WaferRecord ReadWafer(BrooksideElement* dataset) {
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
        BrooksideElement* interval = FindNode(dataset->firstChild, "Interval");
        for (; interval != nullptr; interval = FindNode(interval->nextSibling, "Interval")) {
            BrooksideModel::PhaseRecord phase = ReadPhase(interval);
            const auto next = sorted.lower_bound(phase.from);
            sorted.emplace_hint(next, phase.from, std::move(phase));
        }
        for (auto& [from, phase] : sorted) {
            wafer.phases.push_back(std::move(phase));
        }
        return wafer;
    }

    BrooksideModel::PhaseRecord ReadPhase(BrooksideElement* interval) {
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
        BrooksideElement* node = FindNode(interval->firstChild, "sumdata");
        for (; node != nullptr; node = FindNode(node->nextSibling, "sumdata")) {
            BrooksideModel::SumData& sum = phase.sumData.emplace_back();
            sum.name = Text(node, "Name");
            FindAttribute(node, "StatName", sum.statName);
            sum.value = Text(node, "Value");
        }
        node = FindNode(interval->firstChild, "RecipeParameter");
        for (; node != nullptr; node = FindNode(node->nextSibling, "RecipeParameter")) {
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
    void ReadRawData(BrooksideElement* node) {
        for (; node != nullptr; node = FindNode(node->nextSibling, "RawData")) {
            const std::string name = Text(node, "Name");
            const bool isComplete = reading == karta::Reading::Complete;
            if (model.rawData.contains(FNClass(name).GetNameAndExt()) && model.replacedRawData++ == 0) {
                model.firstReplacedRawData = name;
            }
            if (!node->hasText && isComplete) {
                model.rawData[FNClass(name).GetNameAndExt()] = {};
                continue;
            }
            if (!node->hasText) {
                throw Exception("Could not find RawData for file '" + name + "'");
            }
            if (!node->raw.hasMark && !isComplete) {
                throw Exception("The RawData section '" + name + "' does not contain the string '" +
                                std::string(RawDataText::EndMark) + "'");
            }
            model.rawData[FNClass(name).GetNameAndExt()] = std::move(node->raw.text);
        }
    }

    // An element that only the classic rule needs.
    BrooksideElement* FindElement(BrooksideElement* start, const char* name) const {
        return reading == karta::Reading::Complete ? FindNode(start, name) : FindRequiredNode(start, name);
    }

    // Whether an attribute can be asked for. By the classic rule it must be there, and asking finds out.
    bool IsThere(BrooksideElement* node, const char* name) {
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
    Result Value(BrooksideElement* node, const char* name, Read read, Result otherwise) {
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

    std::string Text(BrooksideElement* node, const char* name) {
        return IsThere(node, name) ? GetTextAttribute(node, name) : std::string();
    }

    float Float(BrooksideElement* node, const char* name) {
        return Value(node, name, GetFloatAttribute, 0.0F);
    }

    BrooksideModel& model;
    karta::Reading reading;
};

}  // namespace

BrooksideModel ReadBrooksideModel(const BrooksideDocument& document, karta::Reading reading) {
    BrooksideTree tree = ParseBrookside(
        document, reading == karta::Reading::Complete ? RawTextExtent::AllText : RawTextExtent::FirstRun);
    BrooksideModel model;
    ModelBuilder(model, reading).ReadTree(tree);
    return model;
}
