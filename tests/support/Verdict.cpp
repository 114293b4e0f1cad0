#include "tests/support/Verdict.h"

MyKindOfFile VerdictOf(const std::string& formatName, const std::string& path) {
    for (int i = 1; i <= SprFileFactory::SizeInfos(); ++i) {
        if (formatName == SprFileFactory::GetInfo(i)->formatName) {
            return SprFileFactory::IsMyKindOfFile(i, path.c_str());
        }
    }
    return KindNo;
}
