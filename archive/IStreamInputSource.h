#pragma once

#include <iosfwd>

#include <xercesc/sax/InputSource.hpp>

/**
 * The bytes of a standard stream, for the XML library. The stream stays the caller's. A stream that fails
 * looks as if it ended there: ask it for bad() after the parse.
 */
class IStreamInputSource : public xercesc::InputSource {
public:
    explicit IStreamInputSource(std::istream& stream) : source(stream) {}
    xercesc::BinInputStream* makeStream() const override;

private:
    std::istream& source;
};
