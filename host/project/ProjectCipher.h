#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/project/UStreamBase.h"

/**
 * The encryption of a project's streams: a key made from the password by Argon2id, from which one key proves
 * the password and another seals the streams, each by itself with XChaCha20-Poly1305 in pieces, so that it is
 * read without being held in memory whole and a changed, cut or swapped piece is found out. The project's
 * version, the stream's place and its name are bound to each piece, and the version to the proof. All of it
 * is libsodium's.
 *
 * Projects of the first scheme, which had one key, fixed costs and only the name bound, are still read.
 */
class ProjectCipher {
public:
    /** The stream that holds the salt and the proof of the password, itself not sealed. */
    static constexpr const char* StreamName = "Encryption";

    /** There is not enough memory for the key. */
    class NoMemory : public std::runtime_error {
    public:
        NoMemory() : std::runtime_error("There is not enough memory for the project's key.") {}
    };

    /** Keys with a new salt, for a project of this version. Raises NoMemory. */
    ProjectCipher(std::string_view password, std::uint16_t projectVersion);
    /**
     * The keys of a project, from what its stream says. Null for another password, another version than the
     * project was sealed with, or a damaged stream. Raises NoMemory.
     */
    static std::unique_ptr<ProjectCipher> Open(UStreamBase& stream, std::string_view password,
                                               std::uint16_t projectVersion);
    ~ProjectCipher();
    ProjectCipher(const ProjectCipher&) = delete;
    ProjectCipher& operator=(const ProjectCipher&) = delete;

    /** The bytes of the stream that Open reads. */
    std::string MakeStream() const;
    /** A stream's bytes, sealed under its name. */
    std::string Seal(std::string_view bytes, const std::string& streamName) const;
    /** The bytes behind a sealed stream, which it takes over. */
    std::unique_ptr<UStreamBase> Unseal(std::unique_ptr<UStreamBase> sealed,
                                        const std::string& streamName) const;

private:
    static constexpr std::size_t KeySize = 32;
    static constexpr std::size_t SaltSize = 16;
    using Key = std::array<std::uint8_t, KeySize>;
    using Salt = std::array<std::uint8_t, SaltSize>;

    /** What trying a password costs: passes over so much memory. */
    struct Cost {
        std::uint32_t passes;
        std::uint64_t memory;
    };

    explicit ProjectCipher(std::uint16_t projectVersion) : version(projectVersion) {}
    bool ReadHead(UStreamBase& stream);
    std::string Head() const;
    void MakeKeys(std::string_view password);
    bool Proves(const std::uint8_t* nonce, const std::uint8_t* proof) const;
    std::string BoundTo(const std::string& streamName) const;

    std::uint16_t scheme = 0;
    std::uint16_t version;
    Cost cost{};
    Salt salt{};
    Key proofKey{};
    Key streamKey{};
};
