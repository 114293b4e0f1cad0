#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/ByteBuilder.h"

// What the parts of binary workbooks (.xlsb) are made of.

/** An id or a length: seven bits a byte, and more of them to come while the eighth is set. */
inline void PutRecordNumber(ByteBuilder& part, std::size_t number) {
    for (; number >= 128; number >>= 7U) {
        part.U8(static_cast<unsigned>((number & 127U) | 128U));
    }
    part.U8(static_cast<unsigned>(number));
}

/** A record behind the others. */
inline void PutRecord(ByteBuilder& part, unsigned id, std::string_view data) {
    PutRecordNumber(part, id);
    PutRecordNumber(part, data.size());
    part.Text(data);
}
inline void PutRecord(ByteBuilder& part, unsigned id, const ByteBuilder& data = {}) {
    PutRecord(part, id, data.Bytes());
}

/** A count and 16-bit characters, each of one byte's value. */
inline ByteBuilder& PutWide(ByteBuilder& data, std::string_view text) {
    data.U32(static_cast<std::uint32_t>(text.size()));
    for (const char c : text) {
        data.U16(static_cast<unsigned char>(c));
    }
    return data;
}
