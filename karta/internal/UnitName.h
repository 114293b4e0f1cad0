#pragma once

#include <string>
#include <string_view>

#include "base/Export.h"

namespace karta {

/**
 * The usual name of a unit that formats spell in several ways: "cm-1" for "1/CM" and "Wavenumber (cm-1)",
 * "nm" for "NANOMETERS". A unit that isn't known stays as it is.
 */
KARTA_EXPORT std::string UsualUnit(std::string_view unit);

/**
 * What a spectrum's ordinate is, by the quantity and the unit that the file tells, which formats mix up:
 * "absorbance" for the quantity "absorbance" as for the unit "ABSORBANCE" or "AU". Empty for others.
 */
KARTA_EXPORT std::string OrdinateOf(std::string_view quantity, std::string_view unit);

}  // namespace karta
