#include "spreadsheet/Book.h"

#include <utility>

Book::Book(const WorkbookPackage& workbookPackage, BookParts bookParts,
           std::shared_ptr<karta::ReadContext> context)
    : package(workbookPackage), parts(std::move(bookParts)), sharedStrings(std::move(context)) {}

Book::~Book() = default;
