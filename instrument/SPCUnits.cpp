#include "instrument/SPCUnits.h"

#include <algorithm>
#include <iterator>

namespace {

struct Name {
    unsigned char code;
    const char* name;
};

constexpr Name XNames[] = {{1, "cm-1"},
                           {2, "um"},
                           {3, "nm"},
                           {4, "Sec"},
                           {5, "Min"},
                           {6, "Hz"},
                           {7, "KHz"},
                           {8, "MHz"},
                           {9, "M/z"},
                           {10, "PPM"},
                           {11, "Days"},
                           {12, "Years"},
                           {13, "Raman Shift (cm-1)"},
                           {14, "eV"},
                           {16, "Diod Number"},
                           {17, "Channel"},
                           {18, "Degrees"},
                           {19, "°F"},
                           {20, "°C"},
                           {21, "°K"},
                           {22, "Data Points"},
                           {23, "mSec"},
                           {24, "uSec"},
                           {25, "nSec"},
                           {26, "GHz"},
                           {27, "cm"},
                           {28, "m"},
                           {29, "mm"},
                           {30, "Hours"}};

constexpr Name YNames[] = {{1, " (interferogram)"},
                           {2, " (absorbance)"},
                           {3, " (kubelka-monk)"},
                           {4, " (counts)"},
                           {5, " (V)"},
                           {6, " (degrees)"},
                           {7, " (mAmp)"},
                           {8, " (mm)"},
                           {9, " (mV)"},
                           {10, " (log(1/R))"},
                           {11, " (%)"},
                           {12, " (intensity)"},
                           {13, " (relative intensity)"},
                           {14, " (energy)"},
                           {16, " (dB)"},
                           {19, " (°F)"},
                           {20, " (°C)"},
                           {21, " (°K)"},
                           {22, " (index of refraction [N])"},
                           {23, " (Extinction Coeff. [K])"},
                           {24, " (real)"},
                           {25, " (imaginary)"},
                           {26, " (complex)"},
                           {128, " (transmition)"},
                           {129, " (reflectance)"},
                           {130, " (arbitrary or single beam with valley peaks)"},
                           {131, " (emission)"}};

struct Quantity {
    unsigned char code;
    SPCQuantity what;
};

constexpr Quantity XQuantities[] = {{1, {"wavenumber", "cm-1"}},
                                    {2, {"wavelength", "µm"}},
                                    {3, {"wavelength", "nm"}},
                                    {4, {"time", "s"}},
                                    {5, {"time", "min"}},
                                    {6, {"frequency", "Hz"}},
                                    {7, {"frequency", "kHz"}},
                                    {8, {"frequency", "MHz"}},
                                    {9, {"mass", "m/z"}},
                                    {10, {"chemical shift", "ppm"}},
                                    {11, {"time", "d"}},
                                    {12, {"time", "a"}},
                                    {13, {"Raman shift", "cm-1"}},
                                    {14, {"energy", "eV"}},
                                    {16, {"diode number", ""}},
                                    {17, {"channel", ""}},
                                    {18, {"angle", "°"}},
                                    {19, {"temperature", "°F"}},
                                    {20, {"temperature", "°C"}},
                                    {21, {"temperature", "K"}},
                                    {22, {"data point", ""}},
                                    {23, {"time", "ms"}},
                                    {24, {"time", "µs"}},
                                    {25, {"time", "ns"}},
                                    {26, {"frequency", "GHz"}},
                                    {27, {"length", "cm"}},
                                    {28, {"length", "m"}},
                                    {29, {"length", "mm"}},
                                    {30, {"time", "h"}}};

constexpr Quantity YQuantities[] = {{1, {"interferogram", ""}},
                                    {2, {"absorbance", "AU"}},
                                    {3, {"Kubelka-Munk", ""}},
                                    {4, {"counts", ""}},
                                    {5, {"voltage", "V"}},
                                    {6, {"angle", "°"}},
                                    {7, {"current", "mA"}},
                                    {8, {"length", "mm"}},
                                    {9, {"voltage", "mV"}},
                                    {10, {"log(1/R)", ""}},
                                    {11, {"share", "%"}},
                                    {12, {"intensity", ""}},
                                    {13, {"relative intensity", ""}},
                                    {14, {"energy", ""}},
                                    {16, {"level", "dB"}},
                                    {19, {"temperature", "°F"}},
                                    {20, {"temperature", "°C"}},
                                    {21, {"temperature", "K"}},
                                    {22, {"index of refraction", ""}},
                                    {23, {"extinction coefficient", ""}},
                                    {24, {"real part", ""}},
                                    {25, {"imaginary part", ""}},
                                    {26, {"complex", ""}},
                                    {128, {"transmission", ""}},
                                    {129, {"reflectance", ""}},
                                    {130, {"single beam", ""}},
                                    {131, {"emission", ""}}};

constexpr std::string_view Techniques[] = {"",
                                           "gas chromatography",
                                           "chromatography",
                                           "HPLC",
                                           "infrared",
                                           "near infrared",
                                           "",
                                           "UV/VIS",
                                           "X-ray diffraction",
                                           "mass spectrometry",
                                           "NMR",
                                           "Raman",
                                           "fluorescence",
                                           "atomic spectrometry",
                                           "diode array chromatography"};

template <class Entry, std::size_t Count>
const Entry* Find(const Entry (&entries)[Count], unsigned char code) {
    const auto* found = std::find_if(std::begin(entries), std::end(entries),
                                     [code](const Entry& entry) { return entry.code == code; });
    return found == std::end(entries) ? nullptr : found;
}

template <std::size_t Count>
const char* NameOf(const Name (&names)[Count], unsigned char code) {
    const Name* const found = Find(names, code);
    return found == nullptr ? "" : found->name;
}

template <std::size_t Count>
SPCQuantity QuantityOf(const Quantity (&quantities)[Count], unsigned char code) {
    const Quantity* const found = Find(quantities, code);
    return found == nullptr ? SPCQuantity() : found->what;
}

}  // namespace

const char* FindSPCXName(unsigned char code) {
    return NameOf(XNames, code);
}

const char* FindSPCYName(unsigned char code) {
    return NameOf(YNames, code);
}

SPCQuantity FindSPCXQuantity(unsigned char code) {
    return QuantityOf(XQuantities, code);
}

SPCQuantity FindSPCYQuantity(unsigned char code) {
    return QuantityOf(YQuantities, code);
}

std::string_view FindSPCTechnique(int code) {
    const bool isKnown = code >= 0 && code < static_cast<int>(std::size(Techniques));
    return isKnown ? Techniques[code] : std::string_view();
}
