// A module that enters a format into this library's registry by a static factory, and has no flat functions.
#include "frame/SprFileFactory.h"

namespace {

class LonelyFactory : public SprFileFactory {
public:
    LonelyFactory()
        : SprFileFactory("Lonely File", "~Lonely Files (*.lonely)", nullptr, 1, ".lonely\0", 0, 1, 0, 1, 0,
                         1) {}
    MyKindOfFile IsMyKindOfFile(const char*) override { return KindNo; }
    SpreadsheetFile* GetSpreadsheetFile() override { return nullptr; }
};

LonelyFactory lonelyFactory;

}  // namespace
