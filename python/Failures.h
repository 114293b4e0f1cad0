#pragma once

#include <nanobind/nanobind.h>

#include "karta/Error.h"

namespace karta::python {

/** From here on a karta::Error of any call becomes the exception that `makeError` returns for it: a function
 * of code, file, format, option, text, advice, place and the whole sentence. */
void TranslateErrors(nanobind::object makeError);

/** The exception for an error, not raised. TranslateErrors comes first. */
nanobind::object ExceptionOf(const Error& error);

}  // namespace karta::python
