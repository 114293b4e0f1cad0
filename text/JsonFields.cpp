#include "text/JsonFields.h"

#include "base/ByteScan.h"
#include "text/TypedField.h"

JsonFields::JsonFields(const LineRules& lineRules, JsonRows& jsonRows)
    : rules(lineRules),
      rows(jsonRows),
      sink(jsonRows),
      output(sink),
      keepsRuns(!lineRules.dialect.skipsBlank && lineRules.rowTexts->members == nullptr) {}

std::size_t JsonFields::Add(std::string_view line) {
    const char delimiter = rules.dialect.delimiter.front();
    const char* at = line.data();
    const char* const end = at + line.size();
    const bool isRemark = line.starts_with('#');
    const ColumnType anything;
    for (std::size_t col = 0;; ++col) {
        const ColumnType& type = col < rules.types.size() ? rules.types[col] : anything;
        FieldForm form;
        const char* behind = type.kind == ColumnType::Number && !isRemark
                                 ? TakePlainNumber(at, end, rules.textEnd, delimiter, type, form)
                                 : nullptr;
        if (behind != nullptr) {
            AddNumber({at, static_cast<std::size_t>(behind - at)}, form);
        } else {
            behind = FindByte(at, end, delimiter);
            EndRun();
            if (!AddValue({at, static_cast<std::size_t>(behind - at)}, type, isRemark)) {
                return 0;
            }
        }
        if (behind == end) {
            EndRun();
            return col + 1;
        }
        at = behind + 1;
        at += rules.dialect.skipsBlank && at != end && *at == ' ' ? 1 : 0;
    }
}

void JsonFields::AddNumber(std::string_view field, const FieldForm& form) {
    if (!form.isCanonical) {
        EndRun();
        rows.AddNumber(form.number);
    } else if (keepsRuns) {
        runStart = runFields == 0 ? field.data() : runStart;
        runEnd = field.data() + field.size();
        ++runFields;
    } else {
        rows.AddPlain(field);
    }
}

void JsonFields::EndRun() {
    if (runFields > 0) {
        rows.AddPlainFields({runStart, static_cast<std::size_t>(runEnd - runStart)},
                            rules.dialect.delimiter.front(), runFields);
        runFields = 0;
    }
}

// A field that is no plain number. False where it contradicts its column's type.
bool JsonFields::AddValue(std::string_view value, const ColumnType& type, bool isRemark) {
    if (value.empty()) {
        rows.AddNull();
        return true;
    }
    if (isRemark || type.kind == ColumnType::Text) {
        rows.AddText(value);
        return true;
    }
    const FieldForm form = GetFieldForm(value, rules.dateOrder);
    if ((form.bits & ~type.accepted) != 0) {
        return false;
    }
    if ((form.bits & FieldForm::WithZone) != 0) {
        firstZone = zones++ == 0 ? value.data() : firstZone;
    }
    PutTypedField(type, form, value, output, 1, 1);
    return true;
}
