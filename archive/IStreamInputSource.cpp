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
        source.read(reinterpret_cast<char*>(buffer), static_cast<std::streamsize>(size));
        const auto count = static_cast<XMLSize_t>(source.gcount());
        position += count;
        return count;
    }

private:
    std::istream& source;
    XMLFilePos position = 0;
};

}  // namespace

xercesc::BinInputStream* IStreamInputSource::makeStream() const {
    return new IStreamBytes(source);
}
