#include "frame/FileContents.h"

FileContents::~FileContents() = default;

std::vector<FileContents::Fact> FileContents::ListFacts() {
    return {};
}

bool FileContents::SelectPart(int /*number*/) {
    return false;
}
