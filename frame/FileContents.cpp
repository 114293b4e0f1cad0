#include "frame/FileContents.h"

#include "base/NumberFormat.h"

FileContents::Fact::Fact(std::string factName, double factNumber, std::string factUnit)
    : name(std::move(factName)),
      value(FormatShortest(factNumber) + (factUnit.empty() ? "" : " " + factUnit)),
      number(factNumber),
      unit(std::move(factUnit)) {}

FileContents::~FileContents() = default;

std::vector<FileContents::Fact> FileContents::ListFacts() {
    return {};
}

bool FileContents::SelectPart(int /*number*/) {
    return false;
}
