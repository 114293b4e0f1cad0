#pragma once

#include <zlib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/ByteBuilder.h"

/** A number in the byte order that is asked for. */
template <class Number>
void PutMatNumber(ByteBuilder& bytes, Number value, bool big) {
    if (big) {
        bytes.PutBig(value);
    } else {
        bytes.Put(value);
    }
}

/** One matrix of a level 4 file. */
struct Matrix4 {
    int type = 0;
    int rows = 0;
    int columns = 0;
    std::string name = "x";
    bool complex = false;
    bool big = false;
    std::optional<int> nameLength = {};  // the name's own with its NUL, unless it is to lie

    /** The header and the name. */
    std::string Head() const {
        ByteBuilder bytes;
        const int fields[] = {type + (big ? 1000 : 0), rows, columns, complex ? 1 : 0,
                              nameLength.value_or(static_cast<int>(name.size()) + 1)};
        for (const int field : fields) {
            PutMatNumber(bytes, field, big);
        }
        return bytes.Text(name).U8(0).Bytes();
    }
    /** With its elements, in the order of the file: column by column. */
    template <class Number>
    std::string With(const std::vector<Number>& elements) const {
        ByteBuilder bytes;
        for (const Number element : elements) {
            PutMatNumber(bytes, element, big);
        }
        return Head() + bytes.Bytes();
    }
    std::string Doubles(const std::vector<double>& elements) const { return With(elements); }
};

/** One array of a level 5 file, element by element. */
struct Array5 {
    std::uint32_t flags = 6;  // the class; double
    std::uint32_t maxEntries = 0;
    std::vector<std::int32_t> dimensions = {1, 1};
    std::string name = "measured";
    std::uint32_t flagsSize = 8;
    bool big = false;
    std::string content = {};  // the elements behind the name, each with its tag

    static void PadTo8(ByteBuilder& bytes) { bytes.PadTo((bytes.Size() + 7) / 8 * 8); }

    /** An element with its tag: the real part, or an index of a sparse array. */
    template <class Number>
    Array5& Element(std::uint32_t type, const std::vector<Number>& values) {
        ByteBuilder bytes;
        PutMatNumber(bytes, type, big);
        PutMatNumber(bytes, static_cast<std::uint32_t>(values.size() * sizeof(Number)), big);
        for (const Number value : values) {
            PutMatNumber(bytes, value, big);
        }
        PadTo8(bytes);
        content += bytes.Bytes();
        return *this;
    }
    Array5& Doubles(const std::vector<double>& values) { return Element(9, values); }

    /** The array element, as it also stands in a compressed one. */
    std::string Bytes() const {
        ByteBuilder body;
        const auto word = [&](std::uint32_t value) { PutMatNumber(body, value, big); };
        word(6);
        word(flagsSize);
        word(flags);
        word(maxEntries);
        word(5);
        word(static_cast<std::uint32_t>(dimensions.size() * 4));
        for (const std::int32_t dimension : dimensions) {
            PutMatNumber(body, dimension, big);
        }
        PadTo8(body);
        word(1);
        word(static_cast<std::uint32_t>(name.size()));
        body.Text(name);
        PadTo8(body);
        body.Text(content);
        ByteBuilder element;
        PutMatNumber(element, std::uint32_t{14}, big);
        PutMatNumber(element, static_cast<std::uint32_t>(body.Size()), big);
        return element.Text(body.Bytes()).Bytes();
    }
};

/** The header of a level 5 file. */
inline std::string Header5(bool big = false, std::string_view version = "5.0") {
    ByteBuilder bytes;
    bytes.Text("MATLAB ").Text(version).Text(" MAT-file, Platform: PCWIN");
    bytes.Text(std::string(116 - bytes.Size(), ' ')).Zeros(8);
    return big ? bytes.Text("\x01").U8(0).Text("MI").Bytes() : bytes.U16(0x100).Text("IM").Bytes();
}

/** A compressed element of these bytes; `size` is what its tag says, by default the truth. */
inline std::string Compressed5(const std::string& content, bool big = false, std::uint32_t size = 0) {
    uLongf length = compressBound(content.size());
    std::string payload(length, '\0');
    compress2(reinterpret_cast<Bytef*>(payload.data()), &length,
              reinterpret_cast<const Bytef*>(content.data()), content.size(), Z_BEST_COMPRESSION);
    payload.resize(length);
    ByteBuilder bytes;
    PutMatNumber(bytes, std::uint32_t{15}, big);
    PutMatNumber(bytes, size != 0 ? size : static_cast<std::uint32_t>(length), big);
    return bytes.Text(payload).Bytes();
}
