#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// What the characters of JCAMP-DX data are.

/** What a character is at the start of a value, and the digit that it stands for. */
struct JCAMPCharacter {
    enum Kind : std::uint8_t { Other, Space, Digit, Point, Comma, Sign, Squeezed, Difference, Duplicate };
    /** What its being there tells of how all numbers of a table are written. */
    enum Mark : std::uint8_t {
        PackedMark = 1, /**< letters stand for digits; "E" and "e" alone don't tell */
        CommaMark = 2,
        PointMark = 4,
        ExponentMark = 8,     /**< an "E" or "e" */
        BareExponentMark = 16 /**< one that was taken for an exponent though no sign follows */
    };

    Kind kind = Other;
    std::uint8_t digit = 0;
    bool negative = false;
    std::uint8_t marks = 0;
};

using JCAMPCharacterTable = std::array<JCAMPCharacter, 256>;

constexpr void EnterJCAMPCharacters(JCAMPCharacterTable& table, std::string_view characters,
                                    JCAMPCharacter::Kind kind, unsigned int firstDigit, bool negative,
                                    std::uint8_t marks) {
    for (const char c : characters) {
        const bool mayBeExponent = c == 'E' || c == 'e';
        table[static_cast<unsigned char>(c)] = {
            kind, static_cast<std::uint8_t>(firstDigit++), negative,
            mayBeExponent ? static_cast<std::uint8_t>(JCAMPCharacter::ExponentMark) : marks};
    }
}

constexpr JCAMPCharacterTable MakeJCAMPCharacters() {
    using Character = JCAMPCharacter;
    JCAMPCharacterTable table{};
    EnterJCAMPCharacters(table, " \t\n\v\f\r", Character::Space, 0, false, 0);
    EnterJCAMPCharacters(table, "0123456789", Character::Digit, 0, false, 0);
    EnterJCAMPCharacters(table, ".", Character::Point, 0, false, Character::PointMark);
    EnterJCAMPCharacters(table, ",", Character::Comma, 0, false, Character::CommaMark);
    EnterJCAMPCharacters(table, "+", Character::Sign, 0, false, 0);
    EnterJCAMPCharacters(table, "-", Character::Sign, 0, true, 0);
    EnterJCAMPCharacters(table, "@ABCDEFGHI", Character::Squeezed, 0, false, Character::PackedMark);
    EnterJCAMPCharacters(table, "abcdefghi", Character::Squeezed, 1, true, Character::PackedMark);
    EnterJCAMPCharacters(table, "%JKLMNOPQR", Character::Difference, 0, false, Character::PackedMark);
    EnterJCAMPCharacters(table, "jklmnopqr", Character::Difference, 1, true, Character::PackedMark);
    EnterJCAMPCharacters(table, "STUVWXYZ", Character::Duplicate, 1, false, Character::PackedMark);
    EnterJCAMPCharacters(table, "s", Character::Duplicate, 9, false, Character::PackedMark);
    return table;
}

inline constexpr JCAMPCharacterTable JCAMPCharacters = MakeJCAMPCharacters();

inline JCAMPCharacter ClassifyJCAMP(char c) {
    return JCAMPCharacters[static_cast<unsigned char>(c)];
}
