#include "instrument/BrukerOPUS.h"

#include "base/ByteCursor.h"
#include "frame/FormatRecogniser.h"

namespace {

void SetScaledValues(const BrukerOPUSRecord& record, ByteCursor values, ReadSpreadSheetData& sink, int row) {
    const auto scaleFactor = static_cast<float>(record.scaleFactor);
    for (int column = OPUSFirstValueColumn; !values.AtEnd(); ++column) {
        sink.Set(column, row, values.ReadFloat() * scaleFactor);
    }
}

}  // namespace

bool BrukerOPUS::ConfirmSelection(OPUSSelection& files) {
    return files.ConfirmDifferentRanges([this](const std::string& text) { return Ask(text); });
}

int BrukerOPUS::Read(ReadSpreadSheetData* sink) {
    return ReadRows(sink, nullptr, SetScaledValues);
}

BrukerOPUSFileFactory::BrukerOPUSFileFactory()
    : SprFileFactory("Bruker OPUS File", "Bruker OPUS File (*.*)", nullptr, 1, ".*\0", 0, 1, 1, 1, 0, 1) {}

MyKindOfFile BrukerOPUSFileFactory::IsMyKindOfFile(const char* fileName) {
    return OPUSSelection::GetKind(fileName);
}

SpreadsheetFile* BrukerOPUSFileFactory::GetSpreadsheetFile() {
    return new BrukerOPUS;
}

static BrukerOPUSFileFactory brukerOPUSFileFactory;

// The mark at a file's beginning; names have numbers for extensions.
static const FormatRecogniser brukerOPUSRecogniser("Bruker OPUS File", "opus", {},
                                                   [](const char* /*path*/, std::string_view head) {
                                                       return head.starts_with(OPUSMagic)
                                                                  ? FormatRecogniser::Evidence::Proof
                                                                  : FormatRecogniser::Evidence::None;
                                                   });
