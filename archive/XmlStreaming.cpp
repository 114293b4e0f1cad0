#include "archive/XmlStreaming.h"

#include <istream>

#include "archive/XmlLibraryStream.h"
#include "archive/XmlModule.h"
#include "archive/XmlScanner.h"

bool StreamXml(const XmlSource& source, XmlEvents& events, XmlNames names, XmlParsers parsers,
               std::size_t pieceSize) {
    try {
        XmlScanner::Progress handedOut;
        if (parsers == XmlParsers::Both) {
            const auto stream = source();
            if (stream == nullptr || !stream->good()) {
                return false;
            }
            XmlScanner scanner(names, pieceSize);
            const XmlScanner::Result result = scanner.Scan(*stream->rdbuf(), events);
            if (result != XmlScanner::Result::Undecided) {
                return result == XmlScanner::Result::WellFormed;
            }
            handedOut = scanner.GetProgress();
        }
        const auto stream = source();
        return stream != nullptr &&
               XmlModule::Find("karta_xml_stream", karta_xml_stream)(*stream, events, names, handedOut);
    } catch (const XmlEnd&) {
        return false;
    }
}
