#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "base/Export.h"
#include "base/LessIgnoringCase.h"
#include "base/Reading.h"
#include "process/BrooksideTree.h"

/**
 * What an XML process log says: the document's attributes, its wafers with their phases, and the raw texts by
 * their names. A plain record, made from a document by ReadBrooksideModel.
 */
struct BrooksideModel {
    /** What the document says of itself. */
    enum AttributeType {
        AttributeAPCSystem,
        AttributeMessageSequence,
        AttributeFDCModel,
        AttributeRecipe,
        AttributeControlJob,
        AttributeEquipment,
        AttributeToolType,
        AttributeResource,
        AttributeTopic,
        AttributeChamberRecipe, /**< the only one that may be missing; then empty */
        AttributeTrend,
        AttributeCount
    };

    /** What it says of a wafer. */
    enum WaferAttributeType {
        WaferLot,
        WaferSlot,
        WaferRawData, /**< file name and extension, without the folder */
        WaferRoute,
        WaferProduct,
        WaferOperationNumber,
        WaferOperationName,
        WaferOperationPassCount,
        WaferPriorityClass,
        WaferLineCode,
        WaferJobClass,
        WaferQualityCode,
        WaferAttributeCount
    };

    /** A statistic over a phase. */
    struct SumData {
        std::string name;
        std::string statName; /**< empty when it isn't told */
        std::string value;
    };

    struct RecipeParameter {
        std::string name;
        float value = 0.0F;
        float lowerLimit = 0.0F;
        float upperLimit = 0.0F;
        bool useCurrentValue = false;
    };

    struct PhaseRecord {
        std::string name;
        std::string number;
        int from = 0;  // row numbers of the raw text
        int to = 0;
        float duration = 0.0F;
        std::string startTime;
        std::vector<SumData> sumData;
        std::vector<RecipeParameter> recipeParameters;
        bool isBackground = false;
    };
    struct WaferRecord {
        std::string waferID;
        std::string tableID;  // the one written to the table
        std::vector<PhaseRecord> phases;
        std::array<std::string, WaferAttributeCount> attributes;
    };
    std::vector<WaferRecord> wafers;  // by raw data name, then by the first phase's first row
    std::map<std::string, std::string, LessIgnoringCase> rawData;
    std::array<std::string, AttributeCount> attributes;
    /** An interval's name begins neither with "f_" nor with "b_". */
    bool apstat = false;
    // What the complete reading passes over, for notes.
    int missingAttributes = 0; /**< that the format asks for, not there or of another kind */
    std::string firstMissingAttribute;
    int replacedRawData = 0; /**< raw texts of which a later one has the name */
    std::string firstReplacedRawData;
};

/**
 * Parses a document. Raises BrooksideParseFailure where it isn't XML, and Exception where it isn't such a
 * log.
 *
 * By the classic rule every element and attribute of the format must be there, and a raw text is the first
 * run of text up to its end mark; the complete reading asks for the wafers, phases and raw texts only, and
 * takes all text and CDATA of a raw text, with or without the mark.
 */
BrooksideModel ReadBrooksideModel(const BrooksideDocument& document, karta::Reading reading);
