#include "container/MatContent.h"

MatContent::~MatContent() = default;

std::vector<FileContents::Fact> MatContent::ListFacts() {
    return {};
}

std::string MatContent::GetFailure() const {
    return {};
}

karta::Place MatContent::GetFailurePlace() const {
    return {};
}
