#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/ByteCursor.h"

// The parameters of an OPUS block: each a head of 8 bytes with a name of three letters, a type and the length
// of its value, then the value; "END" ends them.

/** The head of a parameter. */
struct OPUSParameterHead {
    std::string_view name;
    unsigned int type = 0;
    std::size_t size = 0; /**< of the value, in bytes; 0 for a negative length */
};

/** What a read delivered: all that was asked for, nothing, or only a part of it. */
enum class OPUSDelivery { Whole, Nothing, Part };

inline OPUSDelivery TakeOPUSBytes(ByteCursor& stream, std::size_t count, ByteCursor& bytes) {
    if (count > 0 && stream.AtEnd()) {
        return OPUSDelivery::Nothing;
    }
    if (!stream.Has(count)) {
        return OPUSDelivery::Part;
    }
    bytes = ByteCursor(stream.Take(count));
    return OPUSDelivery::Whole;
}

/**
 * Walks a block's parameters up to its end, which may be the stream's; `takeValue` takes each value from the
 * stream by its head and tells what it got. False when a parameter is cut.
 */
template <class TakeValue>
bool WalkOPUSParameters(ByteCursor& stream, TakeValue takeValue) {
    constexpr std::size_t HeadSize = 8;
    constexpr std::size_t NameSize = 4;
    constexpr std::size_t LengthUnit = 2;
    while (true) {
        ByteCursor bytes;
        OPUSDelivery delivery = TakeOPUSBytes(stream, HeadSize, bytes);
        if (delivery == OPUSDelivery::Whole) {
            OPUSParameterHead head;
            head.name = bytes.ReadTerminatedText(NameSize);
            head.type = bytes.ReadU16();
            const std::int16_t length = bytes.ReadI16();
            if (head.name == "END") {
                return true;
            }
            head.size = length > 0 ? static_cast<std::size_t>(length) * LengthUnit : 0;
            delivery = takeValue(stream, head);
        }
        if (delivery != OPUSDelivery::Whole) {
            return delivery == OPUSDelivery::Nothing;
        }
    }
}

/** A parameter with its value, in the type that its head tells. */
struct OPUSParameter {
    std::string name;
    std::variant<std::int32_t, double, std::string> value;
};

/** The parameters of one block, in its order. */
class OPUSParameterBlock {
public:
    /** Reads what the bytes hold; a parameter that is cut ends them. */
    explicit OPUSParameterBlock(ByteCursor stream);
    OPUSParameterBlock() = default;

    bool IsWhole() const { return isWhole; }
    const std::vector<OPUSParameter>& GetAll() const { return all; }
    bool Has(std::string_view name) const { return Find(name) != nullptr; }
    /** A number of either type; `absent` where there is none. */
    double GetNumber(std::string_view name, double absent) const;
    std::int32_t GetInt(std::string_view name, std::int32_t absent) const;
    /** The bytes of a text; empty where there is none. */
    std::string GetText(std::string_view name) const;

private:
    const OPUSParameter* Find(std::string_view name) const;

    std::vector<OPUSParameter> all;
    bool isWhole = true;
};
