#include "fuzz/WrittenForms.h"

#include <cstdio>
#include <memory>
#include <numeric>
#include <vector>

#include "base/OutputFile.h"
#include "frame/SprFileFactory.h"
#include "frame/SpreadsheetFile.h"
#include "tools/TableSource.h"
#include "tools/TableWriter.h"

namespace {

constexpr TableForm OwnForms[] = {TableForm::Csv, TableForm::Tsv, TableForm::JsonLines};

// All cells are written, the empty ones too; the program refuses what claims far more than a file can hold.
constexpr double MostCells = 1 << 20;

std::vector<int> WritingFormats() {
    std::vector<int> formats;
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (SprFileFactory::GetInfo(i)->canWrite != 0) {
            formats.push_back(i);
        }
    }
    return formats;
}

void WriteOwnForm(TableData& table, const std::vector<int>& rows, TableForm form, karta::ReadContext& context,
                  const std::string& path) {
    OutputFile file(path);
    file.SetBudget(&context.budget);
    WriteTable(table, rows, FormRequest{form, true, false, &context.shape}, file);
    file.Commit();
}

void WriteFormat(TableData& table, const std::vector<int>& rows, int format, const std::string& path) {
    const std::unique_ptr<SpreadsheetFile> writer(SprFileFactory::GetSpreadsheetFile(format));
    NumericRows source(table, rows, true);
    writer->Open(false, path.c_str(), nullptr);
    if (writer->GetStatus() == SpreadsheetFile::StatusOk) {
        writer->Write(&source);
    }
    writer->Close();
}

}  // namespace

void WriteForm(TableData& table, karta::ReadContext& context, const std::string& folder, std::size_t turn) {
    if (static_cast<double>(table.GetNumberOfRows()) * table.GetNumberOfColumns() > MostCells) {
        return;
    }
    static const std::vector<int> formats = WritingFormats();
    std::vector<int> rows(static_cast<std::size_t>(table.GetNumberOfRows()));
    std::iota(rows.begin(), rows.end(), 1);
    const std::string path = folder + "/written";
    turn %= std::size(OwnForms) + formats.size();
    if (turn < std::size(OwnForms)) {
        WriteOwnForm(table, rows, OwnForms[turn], context, path);
    } else {
        WriteFormat(table, rows, formats[turn - std::size(OwnForms)], path);
    }
    std::remove(path.c_str());
}
