#include "archive/IStreamInputSource.h"

#include <istream>

#include <xercesc/util/BinInputStream.hpp>

namespace {

class IStreamBytes : public xercesc::BinInputStream {
public:
    explicit IStreamBytes(std::istream& stream) : source(stream) {}

    XMLFilePos curPos() const override { return position; }
    const XMLCh* getContentType() const override { return nullptr; }
    XMLSize_t readBytes(XMLByte* buffer, XMLSize_t size) override {
        const auto count = static_cast<XMLSize_t>(Read(reinterpret_cast<char*>(buffer), size));
        position += count;
        return count;
    }

private:
    // Of the buffer itself: a stream would swallow that a budget is used up or that a stop was asked for.
    std::streamsize Read(char* buffer, XMLSize_t size) {
        if (!source.good()) {
            return 0;
        }
        try {
            return source.rdbuf()->sgetn(buffer, static_cast<std::streamsize>(size));
        } catch (const std::ios_base::failure&) {
            source.setstate(std::ios_base::badbit);
            return 0;
        }
    }

    std::istream& source;
    XMLFilePos position = 0;
};

}  // namespace

xercesc::BinInputStream* IStreamInputSource::makeStream() const {
    return new IStreamBytes(source);
}
