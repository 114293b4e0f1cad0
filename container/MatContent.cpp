#include "container/MatContent.h"

MatContent::~MatContent() = default;

std::vector<FileContents::Fact> MatContent::ListFacts() {
    return {};
}

std::string MatContent::GetFailure() const {
    return {};
}

std::string MatContent::GetFailurePlace() const {
    return {};
}
