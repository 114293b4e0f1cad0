// How several level 5 arrays share one table: the static operations of MatFile.
#include <algorithm>
#include <cstring>
#include <limits>

#include "base/Exception.h"
#include "container/MatFile.h"

namespace {

constexpr int NameLength = 6;
constexpr const char* VariableNames = "VARNAM";
constexpr const char* VariableNumbers = "VARNUM";
constexpr const char* ObservationNames = "OBSNAM";
constexpr const char* ObservationNumbers = "OBSNUM";

// A name's buffer, with its NUL. The digit 0 ends a name.
constexpr std::size_t NameBufferSize = 32;
constexpr char NameEnd = '0';

bool IsNamed(const MatFile::msMatrix& matrix, const char* name) {
    return std::strncmp(matrix.name, name, NameLength) == 0;
}

bool NamesVariables(const MatFile::msMatrix& matrix) {
    return IsNamed(matrix, VariableNames) || IsNamed(matrix, VariableNumbers);
}

bool NamesObservations(const MatFile::msMatrix& matrix) {
    return IsNamed(matrix, ObservationNames) || IsNamed(matrix, ObservationNumbers);
}

const MatFile::msMatrix* Find(const std::vector<MatFile::msMatrix>& matrices, const char* name) {
    const int place = MatFile::ExistsMatrix(matrices, name, NameLength);
    return place == 0 ? nullptr : &matrices[static_cast<std::size_t>(place) - 1];
}

}  // namespace

int MatFile::ExistsMatrix(const std::vector<msMatrix>& matrices, const char* name, int n) {
    const auto isNamed = [&](const msMatrix& matrix) {
        return std::strncmp(matrix.name, name, static_cast<std::size_t>(std::max(n, 0))) == 0;
    };
    const auto found = std::find_if(matrices.begin(), matrices.end(), isNamed);
    return found == matrices.end() ? 0 : static_cast<int>(found - matrices.begin()) + 1;
}

bool MatFile::CheckDimensions(const std::vector<msMatrix>& matrices) {
    const auto isData = [](const msMatrix& matrix) {
        return !NamesVariables(matrix) && !NamesObservations(matrix);
    };
    const auto data = std::find_if(matrices.begin(), matrices.end(), isData);
    if (data == matrices.end()) {
        throw Exception("There is no data matrix.");
    }
    const msMatrix* const variableNames = Find(matrices, VariableNames);
    if (variableNames != nullptr && variableNames->rows != data->columns) {
        throw Exception("Dimensions of VARNAM matrix and data matrix do not agree.");
    }
    const msMatrix* const variableNumbers = Find(matrices, VariableNumbers);
    if (variableNumbers != nullptr && variableNumbers->columns != data->columns) {
        throw Exception("Dimensions of VARNUM matrix and data matrix do not agree.");
    }
    // These two messages name each other's matrix by the classic rules.
    const msMatrix* const observationNumbers = Find(matrices, ObservationNumbers);
    if (observationNumbers != nullptr && observationNumbers->rows != data->rows) {
        throw Exception("Dimensions of OBSNAM matrix and data matrix do not agree.");
    }
    const msMatrix* const observationNames = Find(matrices, ObservationNames);
    if (observationNames != nullptr && observationNames->rows != data->rows) {
        throw Exception("Dimensions of OBSNUM matrix and data matrix do not agree.");
    }
    return true;
}

void MatFile::SetSheetSize(ReadSpreadSheetData* sink, const std::vector<msMatrix>& matrices) {
    if (matrices.empty()) {
        throw Exception("No data found.");
    }
    if (matrices.size() == 1) {
        sink->SetDataSize(matrices.front().columns, matrices.front().rows);
        return;
    }
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    for (const msMatrix& matrix : matrices) {
        if (NamesVariables(matrix)) {
            ++rows;
        } else if (NamesObservations(matrix)) {
            ++columns;
        } else {
            rows += matrix.rows;
            columns = std::max<std::int64_t>(columns, matrix.columns);
        }
    }
    constexpr std::int64_t Limit = std::numeric_limits<int>::max();
    sink->SetDataSize(static_cast<int>(std::min(columns, Limit)),
                      static_cast<int>(std::clamp(rows, -Limit, Limit)));
}

void MatFile::SetSheetIndex(std::vector<msMatrix>& matrices) {
    const auto count = [&](const char* name) { return Find(matrices, name) == nullptr ? 0 : 1; };
    const int dataColumn = 1 + count(ObservationNames) + count(ObservationNumbers);
    const int dataRow = 1 + count(VariableNames) + count(VariableNumbers);
    const int variableNumbersRow = 1 + count(VariableNames);
    const int observationNumbersColumn = 1 + count(ObservationNames);
    for (msMatrix& matrix : matrices) {
        matrix.columnStart = dataColumn;
        matrix.rowStart = dataRow;
        if (matrices.size() == 1) {
            matrix.columnStart = matrix.rowStart = 1;
        } else if (IsNamed(matrix, VariableNames)) {
            matrix.rowStart = 1;
        } else if (IsNamed(matrix, VariableNumbers)) {
            matrix.rowStart = variableNumbersRow;
        } else if (IsNamed(matrix, ObservationNames)) {
            matrix.columnStart = 1;
        } else if (IsNamed(matrix, ObservationNumbers)) {
            matrix.columnStart = observationNumbersColumn;
        }
    }
}

void MatFile::SetNames(ReadSpreadSheetData* sink, const msMatrix& matrix,
                       const std::vector<char>& characters) {
    if (matrix.rows <= 0 || matrix.columns <= 0) {
        return;
    }
    const auto rows = static_cast<std::size_t>(matrix.rows);
    std::string name;
    for (std::size_t row = 0; row < std::min(rows, characters.size()); ++row) {
        bool ended = false;
        for (std::size_t at = row; at < characters.size() && !ended; at += rows) {
            ended = characters[at] == NameEnd;
            if (!ended && name.size() < NameBufferSize - 1) {
                name += characters[at];
            }
        }
        if (!ended) {
            continue;
        }
        const int along = static_cast<int>(row);
        if (IsNamed(matrix, VariableNames)) {
            sink->Set(matrix.columnStart + along, matrix.rowStart, name.c_str());
        } else if (IsNamed(matrix, ObservationNames)) {
            sink->Set(matrix.columnStart, matrix.rowStart + along, name.c_str());
        }
        name.clear();
    }
}
