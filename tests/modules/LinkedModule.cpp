// A module that is linked with the library and has no flat functions of its own: it is no plug-in, though a
// look-up by name finds the library's.
#include "frame/SprFileFactory.h"

extern "C" KARTA_EXPORT int CountFormats() {
    return SprFileFactory::SizeInfos();
}
