#include "spreadsheet/SheetChoice.h"

#include "frame/CompleteOptions.h"
#include "frame/OptionsText.h"
#include "host/XMLSection.h"

void SheetChoice::Read(const NvImportOpenOptions& options, std::vector<int>& sheets, bool& vertical) {
    ConvertSheetStringToVector(DecodeOptionsText(options), sheets, vertical);
}

void SheetChoice::Lend(const std::vector<int>& sheets, bool vertical, std::vector<std::uint8_t>& memory,
                       NvImportOpenOptions& options) {
    LendOptions(ConvertSheetVectorToString(sheets, vertical), memory, options);
}

std::string SheetChoice::ConvertSheetVectorToString(const std::vector<int>& sheets, bool vertical) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write(Sheets, sheets);
    settings.Write(Vertical, vertical);
    return document.Flush();
}

void SheetChoice::ConvertSheetStringToVector(const std::string& text, std::vector<int>& sheets,
                                             bool& vertical) {
    if (text.empty()) {
        sheets.clear();
        vertical = false;
        return;
    }
    const auto document = XMLSection::CreateXMLSectionFromString(text);
    const XMLSection* const settings =
        document == nullptr ? nullptr : document->GetSection(XMLSection::Settings);
    if (settings != nullptr) {
        settings->Read(Sheets, sheets);
        settings->Read(Vertical, vertical);
    }
}

void SheetChoice::LendParts(const std::string& parts, bool vertical, std::vector<std::uint8_t>& memory,
                            NvImportOpenOptions& options) {
    XMLSection document;
    XMLSection& settings = document.CreateSection(XMLSection::Settings);
    settings.Write(CompleteOptions::Part, parts);
    settings.Write(Vertical, vertical);
    LendOptions(document.Flush(), memory, options);
}

bool SheetChoice::ReadVertical(const NvImportOpenOptions* options) {
    return CompleteOptions(options).GetBool(Vertical).value_or(true);
}
