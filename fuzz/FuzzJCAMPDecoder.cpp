// Fuzzes the decoder of JCAMP-DX data by itself: the first byte of an input chooses the rules, the rest is a
// line. Every call must take at least one character or end.
//
//     fuzz-jcamp-decoder CORPUS
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "instrument/JCAMPDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const JCAMPDecoder::Rules rules{.commaSeparates = (data[0] & 1) != 0, .strict = (data[0] & 2) != 0};
    JCAMPDecoder decoder({reinterpret_cast<const char*>(data) + 1, size - 1});
    for (std::size_t values = 0; values <= size; ++values) {
        JCAMPDecoder::Value next;
        if (decoder.Next(next, rules) != JCAMPDecoder::Decoded || next.count == 0) {
            return 0;
        }
    }
    std::abort();
}
