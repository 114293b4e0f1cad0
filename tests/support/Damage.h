#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>

/** A copy with one byte in a hundred (one at least) changed, the same for the same seed. */
inline std::string DamageBytes(std::string bytes, std::uint32_t seed) {
    std::mt19937 random(seed);
    const std::size_t changes = std::max<std::size_t>(bytes.size() / 100, 1);
    for (std::size_t i = 0; i < changes && !bytes.empty(); ++i) {
        bytes[random() % bytes.size()] = static_cast<char>(random());
    }
    return bytes;
}

/** Hands over a few hundred damaged copies, and the file cut at every length. */
inline void ForEachDamage(const std::string& bytes, const std::function<void(const std::string&)>& visit) {
    for (std::uint32_t seed = 1; seed <= 300; ++seed) {
        visit(DamageBytes(bytes, seed));
    }
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        visit(bytes.substr(0, length));
    }
}
