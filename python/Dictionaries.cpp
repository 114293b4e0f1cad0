#include "python/Dictionaries.h"

#include <cmath>
#include <optional>

#include "base/UniqueNames.h"

namespace nb = nanobind;

namespace karta::python {

namespace {

const char* NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Yes:
            return "yes";
        case Verdict::Maybe:
            return "maybe";
        case Verdict::No:
            break;
    }
    return "no";
}

nb::object NumberOf(double number) {
    const bool isWhole = std::floor(number) == number && std::abs(number) < 1e15;
    return isWhole ? nb::object(nb::int_(static_cast<long long>(number))) : nb::object(nb::float_(number));
}

nb::object SizeOf(const std::optional<std::int64_t>& size) {
    return size ? nb::object(nb::int_(*size)) : nb::object(nb::none());
}

nb::dict DictionaryOf(const Part& part) {
    nb::dict made;
    made["place"] = part.place;
    made["kind"] = TextOf(part.kind);
    made["name"] = TextOf(part.name);
    made["rows"] = SizeOf(part.rows);
    made["columns"] = SizeOf(part.columns);
    made["hidden"] = part.isHidden;
    made["detail"] = TextOf(part.detail);
    return made;
}

}  // namespace

nb::str TextOf(std::string_view bytes) {
    PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "replace");
    if (text == nullptr) {
        throw nb::python_error();
    }
    return nb::steal<nb::str>(text);
}

nb::dict DictionaryOf(const std::vector<Fact>& facts) {
    nb::dict made;
    UniqueNames names;
    for (const Fact& fact : facts) {
        const nb::str name = TextOf(names.Take(fact.name));
        if (fact.number) {
            nb::dict value;
            value["value"] = NumberOf(*fact.number);
            value["unit"] = TextOf(fact.unit);
            made[name] = value;
        } else {
            made[name] = TextOf(fact.text);
        }
    }
    return made;
}

nb::list ListOf(const std::vector<Note>& notes) {
    nb::list made;
    for (const Note& note : notes) {
        nb::dict entry;
        entry["code"] = TextOf(note.code);
        entry["count"] = note.count;
        entry["place"] = TextOf(note.place);
        entry["text"] = TextOf(note.text);
        made.append(entry);
    }
    return made;
}

nb::dict DictionaryOf(const Inspection& inspection) {
    nb::list parts;
    for (const Part& part : inspection.parts) {
        parts.append(DictionaryOf(part));
    }
    nb::dict made;
    made["format"] = TextOf(inspection.format);
    made["reason"] = TextOf(inspection.reason);
    made["reading"] = inspection.reading == Reading::Complete ? "complete" : "classic";
    made["facts"] = DictionaryOf(inspection.facts);
    made["parts"] = parts;
    made["notes"] = ListOf(inspection.notes);
    return made;
}

nb::dict DictionaryOf(const Detection& detection) {
    nb::list verdicts;
    for (const FormatVerdict& verdict : detection.verdicts) {
        nb::dict entry;
        entry["formatName"] = TextOf(verdict.format);
        entry["verdict"] = NameOf(verdict.verdict);
        entry["reason"] = TextOf(verdict.reason);
        verdicts.append(entry);
    }
    nb::dict made;
    made["chosen"] = detection.IsDetermined() ? nb::object(TextOf(detection.format)) : nb::object(nb::none());
    made["reason"] = TextOf(detection.reason);
    made["verdicts"] = verdicts;
    return made;
}

nb::dict DictionaryOf(const Format& format) {
    nb::list extensions;
    for (const std::string& extension : format.extensions) {
        extensions.append(TextOf(extension));
    }
    nb::dict made;
    made["formatName"] = TextOf(format.name);
    made["shortName"] = TextOf(format.shortName);
    made["extensions"] = extensions;
    made["canRead"] = format.canRead;
    made["canWrite"] = format.canWrite;
    made["canReadMany"] = format.canReadMany;
    return made;
}

}  // namespace karta::python
