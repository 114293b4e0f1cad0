// Compares what a handler gets of a document from the scanner, with the library behind it where it can't go
// on, and from the library alone, on every input: every tag, attribute and text, and whether the document is
// well-formed. The same of a workbook's sheet, whose cells are taken from the bytes as they stand. The first
// byte of an input chooses how names are taken and in what pieces the bytes come.
//
//     fuzz-xml-scanner fuzz/corpus/xml-scanner
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "spreadsheet/PlainCell.h"
#include "tests/support/SheetOutcome.h"
#include "tests/support/XmlOutcome.h"

namespace {

void Compare(std::string_view document, const std::string& library, const std::string& both) {
    if (!Agree(document, library, both)) {
        std::fprintf(stderr, "the library:\n%s\nwith the scanner:\n%s\n", library.c_str(), both.c_str());
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const XmlNames names = (data[0] & 1) != 0 ? XmlNames::ByNamespace : XmlNames::AsWritten;
    const std::size_t pieceSize = std::size_t{1} << (data[0] >> 1 & 7) * 2;
    const std::string_view document(reinterpret_cast<const char*>(data) + 1, size - 1);
    Compare(document, XmlOutcome(document, names, XmlParsers::Library, pieceSize),
            XmlOutcome(document, names, XmlParsers::Both, pieceSize));
    const XmlForm form = names == XmlNames::ByNamespace ? XmlForm::Full : XmlForm::Literal;
    // The last cells are taken so only where enough bytes stand behind them.
    const std::string sheet = std::string(document) + std::string(PlainCell::Longest, ' ');
    Compare(sheet, SheetOutcome(sheet, form, XmlParsers::Library, pieceSize),
            SheetOutcome(sheet, form, XmlParsers::Both, pieceSize));
    return 0;
}
