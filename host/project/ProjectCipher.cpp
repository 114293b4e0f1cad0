#include "host/project/ProjectCipher.h"

#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

// The cost of trying a password: 64 MiB and about a tenth of a second. Not told by the file, which could
// ask for any amount.
constexpr unsigned long long KeyOperations = crypto_pwhash_OPSLIMIT_INTERACTIVE;
constexpr std::size_t KeyMemory = crypto_pwhash_MEMLIMIT_INTERACTIVE;

constexpr std::uint16_t SchemeNumber = 1;

// The proof of the password: an empty message sealed with the key.
constexpr std::size_t NonceSize = crypto_secretbox_NONCEBYTES;
constexpr std::size_t ProofSize = crypto_secretbox_MACBYTES;

// A sealed stream: a header, then pieces of this much text, each with its tag.
constexpr std::size_t PieceSize = 65536;
constexpr std::size_t HeaderSize = crypto_secretstream_xchacha20poly1305_HEADERBYTES;
constexpr std::size_t TagSize = crypto_secretstream_xchacha20poly1305_ABYTES;

void StartLibrary() {
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium could not be started");
    }
}

const unsigned char* BytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

/** The text of a sealed stream, one piece at a time. */
class UnsealedStream : public UStreamBase {
public:
    UnsealedStream(std::unique_ptr<UStreamBase> source, const std::uint8_t* key, std::string streamName)
        : sealed(std::move(source)), name(std::move(streamName)) {
        std::uint8_t header[HeaderSize];
        failed = !sealed->Read(header, sizeof header) ||
                 crypto_secretstream_xchacha20poly1305_init_pull(&state, header, key) != 0;
    }
    ~UnsealedStream() override {
        sodium_memzero(&state, sizeof state);
        sodium_memzero(piece.data(), piece.size());
    }
    UnsealedStream(const UnsealedStream&) = delete;
    UnsealedStream& operator=(const UnsealedStream&) = delete;

    bool Read(void* buffer, std::size_t size) override {
        auto* to = static_cast<std::uint8_t*>(buffer);
        while (size > 0 && !failed) {
            if (position == piece.size() && !NextPiece()) {
                failed = true;
                break;
            }
            const std::size_t part = std::min(size, piece.size() - position);
            std::memcpy(to, piece.data() + position, part);
            position += part;
            to += part;
            size -= part;
        }
        return !failed;
    }

    std::uint64_t GetRemaining() const override { return piece.size() - position + sealed->GetRemaining(); }

private:
    bool NextPiece() {
        const auto size =
            static_cast<std::size_t>(std::min<std::uint64_t>(sealed->GetRemaining(), PieceSize + TagSize));
        std::vector<std::uint8_t> text(size);
        if (atEnd || size <= TagSize || !sealed->Read(text.data(), size)) {
            return false;
        }
        piece.resize(size - TagSize);
        position = 0;
        unsigned char tag = 0;
        if (crypto_secretstream_xchacha20poly1305_pull(&state, piece.data(), nullptr, &tag, text.data(), size,
                                                       BytesOf(name), name.size()) != 0) {
            piece.clear();
            return false;
        }
        atEnd = tag == crypto_secretstream_xchacha20poly1305_TAG_FINAL;
        return true;
    }

    std::unique_ptr<UStreamBase> sealed;
    std::string name;
    crypto_secretstream_xchacha20poly1305_state state{};
    std::vector<std::uint8_t> piece;
    std::size_t position = 0;
    bool atEnd = false;
};

}  // namespace

ProjectCipher::ProjectCipher(std::string_view password) {
    StartLibrary();
    randombytes_buf(salt.data(), salt.size());
    MakeKey(password);
}

ProjectCipher::~ProjectCipher() {
    sodium_memzero(key.data(), key.size());
}

void ProjectCipher::MakeKey(std::string_view password) {
    if (crypto_pwhash(key.data(), key.size(), password.data(), password.size(), salt.data(), KeyOperations,
                      KeyMemory, crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw std::runtime_error("there is not enough memory for a project's key");
    }
}

std::unique_ptr<ProjectCipher> ProjectCipher::Open(UStreamBase& stream, std::string_view password) {
    StartLibrary();
    std::unique_ptr<ProjectCipher> cipher(new ProjectCipher);
    std::uint8_t nonce[NonceSize];
    std::uint8_t proof[ProofSize];
    if (stream.ReadNumber<std::uint16_t>() != SchemeNumber || !stream.Read(cipher->salt.data(), SaltSize) ||
        !stream.Read(nonce, sizeof nonce) || !stream.Read(proof, sizeof proof)) {
        return nullptr;
    }
    cipher->MakeKey(password);
    std::uint8_t nothing = 0;
    if (crypto_secretbox_open_easy(&nothing, proof, sizeof proof, nonce, cipher->key.data()) != 0) {
        return nullptr;
    }
    return cipher;
}

std::string ProjectCipher::MakeStream() const {
    std::string bytes{static_cast<char>(SchemeNumber & 0xFF), static_cast<char>(SchemeNumber >> 8)};
    bytes.append(reinterpret_cast<const char*>(salt.data()), salt.size());
    std::uint8_t nonce[NonceSize];
    std::uint8_t proof[ProofSize];
    const std::uint8_t nothing = 0;
    randombytes_buf(nonce, sizeof nonce);
    crypto_secretbox_easy(proof, &nothing, 0, nonce, key.data());
    bytes.append(reinterpret_cast<const char*>(nonce), sizeof nonce);
    bytes.append(reinterpret_cast<const char*>(proof), sizeof proof);
    return bytes;
}

std::string ProjectCipher::Seal(std::string_view bytes, const std::string& streamName) const {
    crypto_secretstream_xchacha20poly1305_state state;
    std::uint8_t header[HeaderSize];
    crypto_secretstream_xchacha20poly1305_init_push(&state, header, key.data());
    std::string sealed(reinterpret_cast<const char*>(header), sizeof header);
    std::vector<std::uint8_t> piece(PieceSize + TagSize);
    do {
        const std::string_view text = bytes.substr(0, PieceSize);
        bytes.remove_prefix(text.size());
        const unsigned char tag = bytes.empty() ? crypto_secretstream_xchacha20poly1305_TAG_FINAL
                                                : crypto_secretstream_xchacha20poly1305_TAG_MESSAGE;
        crypto_secretstream_xchacha20poly1305_push(&state, piece.data(), nullptr, BytesOf(text), text.size(),
                                                   BytesOf(streamName), streamName.size(), tag);
        sealed.append(reinterpret_cast<const char*>(piece.data()), text.size() + TagSize);
    } while (!bytes.empty());
    sodium_memzero(&state, sizeof state);
    return sealed;
}

std::unique_ptr<UStreamBase> ProjectCipher::Unseal(std::unique_ptr<UStreamBase> sealed,
                                                   const std::string& streamName) const {
    return std::make_unique<UnsealedStream>(std::move(sealed), key.data(), streamName);
}
