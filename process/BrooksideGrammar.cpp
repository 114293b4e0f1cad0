#include "process/BrooksideGrammar.h"

const std::string_view FDCRequestGrammar = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- A request for fault detection: who asks, what was recorded, and where each phase of each wafer lies. -->
<!ENTITY % FDC SYSTEM "./FDC.dtd">
%FDC;

<!ELEMENT FDCRequest (APCSystemName, Logistics, RawData+, Trend, Response)>
<!ATTLIST FDCRequest
    messageSequenceIdentifier CDATA #REQUIRED
    specialInstructions       CDATA #IMPLIED>
)";

const std::string_view FDCGrammar = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- The recorded data of a process: raw texts, and the wafers and intervals that point into them. -->
<!ENTITY % base SYSTEM "../base.dtd">
%base;

<!ELEMENT Logistics EMPTY>
<!ATTLIST Logistics
    fdcModel      CDATA #REQUIRED
    recipeID      CDATA #REQUIRED
    controlJobID  CDATA #REQUIRED
    equipmentID   CDATA #REQUIRED
    toolType      CDATA #REQUIRED
    resourceID    CDATA #REQUIRED
    chamberRecipe CDATA #IMPLIED>

<!-- A spreadsheet in text, cut off at NUM_DATA_ROWS. -->
<!ELEMENT RawData (#PCDATA)>
<!ATTLIST RawData
    name CDATA #REQUIRED>

<!ELEMENT Trend (DataSet+)>
<!ATTLIST Trend
    name CDATA #REQUIRED>

<!-- One wafer. -->
<!ELEMENT DataSet (Interval+)>
<!ATTLIST DataSet
    rawDataName        CDATA #REQUIRED
    startTime          CDATA #REQUIRED
    lotID              CDATA #REQUIRED
    slotID             CDATA #REQUIRED
    waferID            CDATA #REQUIRED
    priorityClass      CDATA #REQUIRED
    lineCode           CDATA #REQUIRED
    jobClass           CDATA #REQUIRED
    qualityCode        CDATA #REQUIRED
    routeID            CDATA #REQUIRED
    productID          CDATA #REQUIRED
    operationNumber    CDATA #REQUIRED
    operationName      CDATA #REQUIRED
    operationPassCount CDATA #REQUIRED>

<!-- One phase of a wafer. -->
<!ELEMENT Interval (SumData*, RecipeParameter*)>
<!ATTLIST Interval
    name      CDATA #REQUIRED
    number    CDATA #REQUIRED
    startTime CDATA #REQUIRED
    duration  CDATA #REQUIRED
    fromRow   CDATA #REQUIRED
    toRow     CDATA #REQUIRED>

<!ELEMENT SumData EMPTY>
<!ATTLIST SumData
    name     CDATA #REQUIRED
    statName (MEAN | MEDIAN | STDDEV | MIN | MAX | RANGE | SUM | SLOPE | FIRST | LAST | COUNT) "MEAN"
    value    CDATA #REQUIRED>

<!ELEMENT RecipeParameter EMPTY>
<!ATTLIST RecipeParameter
    name                CDATA #REQUIRED
    value               CDATA #REQUIRED
    valueLowerLimit     CDATA #REQUIRED
    valueUpperLimit     CDATA #REQUIRED
    useCurrentValueFlag (true | false) #REQUIRED>
)";

const std::string_view BaseGrammar = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- What the requests of a process control system share. -->
<!ELEMENT APCSystemName EMPTY>
<!ATTLIST APCSystemName
    id (Brookside.PSDA | Brookside.FDC | Brookside.R2R) #REQUIRED>

<!ELEMENT Response EMPTY>
<!ATTLIST Response
    topicName CDATA #REQUIRED>
)";
