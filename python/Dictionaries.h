#pragma once

#include <nanobind/nanobind.h>

#include <vector>

#include "base/Note.h"
#include "karta/Detect.h"
#include "karta/Fact.h"
#include "karta/Formats.h"
#include "karta/Inspect.h"

namespace karta::python {

// The same content as the program's JSON, under the same names.
nanobind::dict DictionaryOf(const Inspection& inspection);
nanobind::dict DictionaryOf(const Detection& detection);
nanobind::dict DictionaryOf(const Format& format);
/** By name: a text, or a dictionary of `value` and `unit` where the fact is a number. */
nanobind::dict DictionaryOf(const std::vector<Fact>& facts);
nanobind::list ListOf(const std::vector<Note>& notes);

/** Whatever bytes they are: what is no UTF-8 is replaced. */
nanobind::str TextOf(std::string_view bytes);

}  // namespace karta::python
