#include "host/project/ProjectCipher.h"

#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

// The schemes. The first told its costs by its number; a file that asks for any amount is not obeyed.
constexpr std::uint16_t SchemeFixedCost = 1;
constexpr std::uint16_t SchemeToldCost = 2;

// The cost of trying a password: what is written, what the first scheme had, and the most that is accepted.
constexpr std::uint32_t Passes = 3;
constexpr std::uint64_t Memory = std::uint64_t{64} << 20;
constexpr std::uint32_t FixedPasses = crypto_pwhash_OPSLIMIT_INTERACTIVE;
constexpr std::uint64_t FixedMemory = crypto_pwhash_MEMLIMIT_INTERACTIVE;
constexpr std::uint32_t MostPasses = 8;
constexpr std::uint64_t MostMemory = std::uint64_t{256} << 20;

// The keys that are derived from the password's: which is which, and for what program.
constexpr std::uint64_t ProofKeyNumber = 1;
constexpr std::uint64_t StreamKeyNumber = 2;
constexpr char KeyContext[crypto_kdf_CONTEXTBYTES + 1] = "KARTAkpf";

// The proof of the password: an empty message sealed with its key.
constexpr std::size_t NonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t ProofSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
static_assert(NonceSize == crypto_secretbox_NONCEBYTES && ProofSize == crypto_secretbox_MACBYTES);

// The place of every stream of today's layouts.
constexpr std::string_view RootPlace = "/";

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
    UnsealedStream(std::unique_ptr<UStreamBase> source, const std::uint8_t* key, std::string boundTo)
        : sealed(std::move(source)), bound(std::move(boundTo)) {
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
                                                       BytesOf(bound), bound.size()) != 0) {
            piece.clear();
            return false;
        }
        atEnd = tag == crypto_secretstream_xchacha20poly1305_TAG_FINAL;
        return true;
    }

    std::unique_ptr<UStreamBase> sealed;
    std::string bound;
    crypto_secretstream_xchacha20poly1305_state state{};
    std::vector<std::uint8_t> piece;
    std::size_t position = 0;
    bool atEnd = false;
};

}  // namespace

ProjectCipher::ProjectCipher(std::string_view password, std::uint16_t projectVersion)
    : scheme(SchemeToldCost), version(projectVersion), cost{Passes, Memory} {
    StartLibrary();
    randombytes_buf(salt.data(), salt.size());
    MakeKeys(password);
}

ProjectCipher::~ProjectCipher() {
    sodium_memzero(proofKey.data(), proofKey.size());
    sodium_memzero(streamKey.data(), streamKey.size());
}

void ProjectCipher::MakeKeys(std::string_view password) {
    Key key{};
    if (crypto_pwhash(key.data(), key.size(), password.data(), password.size(), salt.data(), cost.passes,
                      static_cast<std::size_t>(cost.memory), crypto_pwhash_ALG_ARGON2ID13) != 0) {
        throw NoMemory();
    }
    if (scheme == SchemeFixedCost) {
        proofKey = streamKey = key;
    } else {
        crypto_kdf_derive_from_key(proofKey.data(), proofKey.size(), ProofKeyNumber, KeyContext, key.data());
        crypto_kdf_derive_from_key(streamKey.data(), streamKey.size(), StreamKeyNumber, KeyContext,
                                   key.data());
    }
    sodium_memzero(key.data(), key.size());
}

// The scheme, its costs and the salt. False for what no project of ours says.
bool ProjectCipher::ReadHead(UStreamBase& stream) {
    scheme = stream.ReadNumber<std::uint16_t>();
    if (scheme == SchemeFixedCost) {
        cost = {FixedPasses, FixedMemory};
    } else {
        cost.passes = stream.ReadNumber<std::uint32_t>();
        cost.memory = stream.ReadNumber<std::uint64_t>();
    }
    const bool isBearable = cost.passes >= crypto_pwhash_OPSLIMIT_MIN && cost.passes <= MostPasses &&
                            cost.memory >= crypto_pwhash_MEMLIMIT_MIN && cost.memory <= MostMemory;
    return (scheme == SchemeFixedCost || scheme == SchemeToldCost) && isBearable &&
           stream.Read(salt.data(), SaltSize);
}

std::string ProjectCipher::Head() const {
    std::string bytes;
    const auto put = [&](std::uint64_t value, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
        }
    };
    put(scheme, sizeof scheme);
    put(cost.passes, sizeof cost.passes);
    put(cost.memory, sizeof cost.memory);
    bytes.append(reinterpret_cast<const char*>(salt.data()), salt.size());
    return bytes;
}

// What the pieces of a stream are bound to, beside their order.
std::string ProjectCipher::BoundTo(const std::string& streamName) const {
    if (scheme == SchemeFixedCost) {
        return streamName;
    }
    std::string bound{static_cast<char>(version & 0xFF), static_cast<char>(version >> 8)};
    return bound.append(RootPlace).append(streamName);
}

bool ProjectCipher::Proves(const std::uint8_t* nonce, const std::uint8_t* proof) const {
    std::uint8_t nothing = 0;
    if (scheme == SchemeFixedCost) {
        return crypto_secretbox_open_easy(&nothing, proof, ProofSize, nonce, proofKey.data()) == 0;
    }
    const std::string bound = Head() + BoundTo(StreamName);
    return crypto_aead_xchacha20poly1305_ietf_decrypt(&nothing, nullptr, nullptr, proof, ProofSize,
                                                      BytesOf(bound), bound.size(), nonce,
                                                      proofKey.data()) == 0;
}

std::unique_ptr<ProjectCipher> ProjectCipher::Open(UStreamBase& stream, std::string_view password,
                                                   std::uint16_t projectVersion) {
    StartLibrary();
    std::unique_ptr<ProjectCipher> cipher(new ProjectCipher(projectVersion));
    std::uint8_t nonce[NonceSize];
    std::uint8_t proof[ProofSize];
    if (!cipher->ReadHead(stream) || !stream.Read(nonce, sizeof nonce) || !stream.Read(proof, sizeof proof)) {
        return nullptr;
    }
    cipher->MakeKeys(password);
    return cipher->Proves(nonce, proof) ? std::move(cipher) : nullptr;
}

std::string ProjectCipher::MakeStream() const {
    std::string bytes = Head();
    const std::string bound = bytes + BoundTo(StreamName);
    std::uint8_t nonce[NonceSize];
    std::uint8_t proof[ProofSize];
    const std::uint8_t nothing = 0;
    randombytes_buf(nonce, sizeof nonce);
    crypto_aead_xchacha20poly1305_ietf_encrypt(proof, nullptr, &nothing, 0, BytesOf(bound), bound.size(),
                                               nullptr, nonce, proofKey.data());
    bytes.append(reinterpret_cast<const char*>(nonce), sizeof nonce);
    bytes.append(reinterpret_cast<const char*>(proof), sizeof proof);
    return bytes;
}

std::string ProjectCipher::Seal(std::string_view bytes, const std::string& streamName) const {
    crypto_secretstream_xchacha20poly1305_state state;
    std::uint8_t header[HeaderSize];
    crypto_secretstream_xchacha20poly1305_init_push(&state, header, streamKey.data());
    std::string sealed(reinterpret_cast<const char*>(header), sizeof header);
    std::vector<std::uint8_t> piece(PieceSize + TagSize);
    const std::string bound = BoundTo(streamName);
    do {
        const std::string_view text = bytes.substr(0, PieceSize);
        bytes.remove_prefix(text.size());
        const unsigned char tag = bytes.empty() ? crypto_secretstream_xchacha20poly1305_TAG_FINAL
                                                : crypto_secretstream_xchacha20poly1305_TAG_MESSAGE;
        crypto_secretstream_xchacha20poly1305_push(&state, piece.data(), nullptr, BytesOf(text), text.size(),
                                                   BytesOf(bound), bound.size(), tag);
        sealed.append(reinterpret_cast<const char*>(piece.data()), text.size() + TagSize);
    } while (!bytes.empty());
    sodium_memzero(&state, sizeof state);
    return sealed;
}

std::unique_ptr<UStreamBase> ProjectCipher::Unseal(std::unique_ptr<UStreamBase> sealed,
                                                   const std::string& streamName) const {
    return std::make_unique<UnsealedStream>(std::move(sealed), streamKey.data(), BoundTo(streamName));
}
