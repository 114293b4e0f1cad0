#include "instrument/OPUSParameters.h"

namespace {

// What a head's type says of the value behind it.
constexpr unsigned int TypeInt = 0;
constexpr unsigned int TypeDouble = 1;

}  // namespace

OPUSParameterBlock::OPUSParameterBlock(ByteCursor stream) {
    isWhole = WalkOPUSParameters(stream, [this](ByteCursor& values, const OPUSParameterHead& head) {
        ByteCursor bytes;
        const OPUSDelivery delivery = TakeOPUSBytes(values, head.size, bytes);
        if (delivery != OPUSDelivery::Whole) {
            return delivery;
        }
        OPUSParameter parameter{std::string(head.name), {}};
        if (head.type == TypeInt && head.size >= sizeof(std::int32_t)) {
            parameter.value = bytes.ReadI32();
        } else if (head.type == TypeDouble && head.size >= sizeof(double)) {
            parameter.value = bytes.ReadDouble();
        } else {
            parameter.value = std::string(bytes.ReadTerminatedText(head.size));
        }
        all.push_back(std::move(parameter));
        return delivery;
    });
}

// The last one of a name counts.
const OPUSParameter* OPUSParameterBlock::Find(std::string_view name) const {
    const auto found = std::find_if(all.rbegin(), all.rend(),
                                    [&](const OPUSParameter& parameter) { return parameter.name == name; });
    return found == all.rend() ? nullptr : &*found;
}

double OPUSParameterBlock::GetNumber(std::string_view name, double absent) const {
    const OPUSParameter* parameter = Find(name);
    if (parameter == nullptr) {
        return absent;
    }
    if (const auto* number = std::get_if<double>(&parameter->value)) {
        return *number;
    }
    const auto* whole = std::get_if<std::int32_t>(&parameter->value);
    return whole == nullptr ? absent : *whole;
}

std::int32_t OPUSParameterBlock::GetInt(std::string_view name, std::int32_t absent) const {
    const OPUSParameter* parameter = Find(name);
    const auto* whole = parameter == nullptr ? nullptr : std::get_if<std::int32_t>(&parameter->value);
    return whole == nullptr ? absent : *whole;
}

std::string OPUSParameterBlock::GetText(std::string_view name) const {
    const OPUSParameter* parameter = Find(name);
    const auto* text = parameter == nullptr ? nullptr : std::get_if<std::string>(&parameter->value);
    return text == nullptr ? std::string() : *text;
}
