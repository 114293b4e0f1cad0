#include "tests/support/Damage.h"

#include <algorithm>
#include <random>

namespace {
constexpr std::size_t MaxCuts = 3000;
constexpr int Rounds = 300;
constexpr std::size_t BytesForOneChange = 100;
}  // namespace

void ForEachDamage(const std::string& bytes, const std::function<void(const std::string&)>& use) {
    for (std::size_t length = 0; length < std::min(bytes.size(), MaxCuts); ++length) {
        use(bytes.substr(0, length));
    }
    std::mt19937 random(20260101);
    for (int round = 0; round < Rounds; ++round) {
        std::string damaged = bytes;
        for (std::size_t change = 0; change <= bytes.size() / BytesForOneChange; ++change) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        use(damaged);
    }
}
