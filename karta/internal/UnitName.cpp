#include "karta/internal/UnitName.h"

#include <algorithm>
#include <iterator>

#include "base/PathNames.h"

namespace karta {

namespace {

struct Spelling {
    std::string_view written;  // in small letters
    std::string_view usual;
};

// As the formats' own documents and instruments' programs have them.
constexpr Spelling Units[] = {{"1/cm", "cm-1"},
                              {"cm-1", "cm-1"},
                              {"cm^-1", "cm-1"},
                              {"cm\u207b\u00b9", "cm-1"},
                              {"wavenumber", "cm-1"},
                              {"wavenumber cm-1", "cm-1"},
                              {"wavenumber (cm-1)", "cm-1"},
                              {"wavenumbers", "cm-1"},
                              {"nm", "nm"},
                              {"nanometer", "nm"},
                              {"nanometers", "nm"},
                              {"nanometres", "nm"},
                              {"micrometers", "um"},
                              {"microns", "um"},
                              {"um", "um"},
                              {"\u00b5m", "um"},
                              {"\u03bcm", "um"},
                              {"s", "s"},
                              {"sec", "s"},
                              {"seconds", "s"},
                              {"time-sec", "s"},
                              {"min", "min"},
                              {"minutes", "min"},
                              {"hz", "Hz"},
                              {"hertz", "Hz"},
                              {"mau", "mAU"}};

constexpr Spelling Ordinates[] = {{"absorbance", "absorbance"},
                                  {"absorbance units", "absorbance"},
                                  {"au", "absorbance"},
                                  {"a", "absorbance"},
                                  {"transmittance", "transmittance"},
                                  {"transmission", "transmittance"},
                                  {"%t", "per cent of transmittance"},
                                  {"% transmittance", "per cent of transmittance"},
                                  {"reflectance", "reflectance"},
                                  {"log(1/r)", "log(1/R)"},
                                  {"kubelka-munk", "Kubelka-Munk"},
                                  {"kubelka-munk units", "Kubelka-Munk"}};

// Empty where none is so written.
template <std::size_t Count>
std::string_view Find(const Spelling (&spellings)[Count], std::string_view text) {
    const auto found = std::find_if(std::begin(spellings), std::end(spellings), [&](const Spelling& one) {
        return EqualIgnoringCase(one.written, text);
    });
    return found == std::end(spellings) ? std::string_view() : found->usual;
}

}  // namespace

std::string UsualUnit(std::string_view unit) {
    const std::string_view usual = Find(Units, unit);
    return std::string(usual.empty() ? unit : usual);
}

std::string OrdinateOf(std::string_view quantity, std::string_view unit) {
    const std::string_view byUnit = Find(Ordinates, unit);
    // A unit that isn't an ordinate's name says more than the quantity: mAU is no AU.
    return std::string(byUnit.empty() && unit.empty() ? Find(Ordinates, quantity) : byUnit);
}

}  // namespace karta
