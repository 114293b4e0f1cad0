#include "text/DIFFileOEM.h"

#include "base/OemText.h"
#include "base/PathNames.h"
#include "frame/FormatRecogniser.h"
#include "host/NvFile.h"

int DIFFileOEM::Read(ReadSpreadSheetData* sink) {
    return ReadRows(sink, OemToAnsi);
}

int DIFFileOEM::Write(WriteSpreadSheetData* source) {
    return WriteRows(source, AnsiToOem);
}

// For showing only, so the title is converted here.
std::vector<FileContents::Fact> DIFFileOEM::ListFacts() {
    std::vector<Fact> facts = DIFFile::ListFacts();
    for (Fact& fact : facts) {
        // The complete reading has converted it already.
        fact.value = IsComplete() ? fact.value : OemToAnsi(fact.value);
    }
    return facts;
}

DiffFileOEMFactory::DiffFileOEMFactory()
    : SprFileFactory("DIF File(OEM)", "DIF Files(OEM) (*.dif)", "DIF Files(OEM) (*.dif)", 1, ".dif\0", 1, 1,
                     0, 1, 1, 1) {}

MyKindOfFile DiffFileOEMFactory::IsMyKindOfFile(const char* fileName) {
    if (HasExtension(fileName, "dif")) {
        return KindYes;
    }
    return NvFile::GetEncoding(fileName) != NvFile::EncodingPlain ? KindProbably : KindNo;
}

SpreadsheetFile* DiffFileOEMFactory::GetSpreadsheetFile() {
    return new DIFFileOEM;
}

static DiffFileOEMFactory diffFileOEMFactory;
static const FormatRecogniser difOemRecogniser("DIF File(OEM)", "dif-oem", {}, nullptr);
