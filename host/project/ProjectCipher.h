#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/project/UStreamBase.h"

/**
 * The encryption of a project's streams: a key made from the password by Argon2id, and each stream sealed by
 * itself with XChaCha20-Poly1305 in pieces, so that it is read without being held in memory whole and a
 * changed, cut or swapped piece is found out. All of it is libsodium's.
 */
class ProjectCipher {
public:
    /** The stream that holds the salt and the proof of the password, itself not sealed. */
    static constexpr const char* StreamName = "Encryption";

    /** A key with a new salt. */
    explicit ProjectCipher(std::string_view password);
    /** The key of a project, from what its stream says. Null for another password or a damaged stream. */
    static std::unique_ptr<ProjectCipher> Open(UStreamBase& stream, std::string_view password);
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

    ProjectCipher() = default;
    void MakeKey(std::string_view password);

    Salt salt{};
    Key key{};
};
