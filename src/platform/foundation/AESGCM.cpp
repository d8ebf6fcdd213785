#include "platform/foundation/AESGCM.h"

#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/foundation/GcryptHandles.h"

namespace vellumix {

void wipe(std::span<std::uint8_t> bytes) { explicit_bzero(bytes.data(), bytes.size()); }

void fillRandom(std::span<std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto filled = getrandom(bytes.data(), bytes.size(), 0);
        if (filled < 0 && errno != EINTR) std::abort();
        if (filled > 0) bytes = bytes.subspan(static_cast<std::size_t>(filled));
    }
}

SymmetricKey SymmetricKey::random() {
    SymmetricKey key;
    fillRandom(key._bytes);
    return key;
}

std::optional<SymmetricKey> SymmetricKey::fromRaw(ByteView bytes) {
    if (bytes.size() != size) return std::nullopt;
    SymmetricKey key;
    std::copy(bytes.begin(), bytes.end(), key._bytes.begin());
    return key;
}

namespace aesgcm {

namespace {

/// The client library of the keyring uses the same library, and whoever comes first prepares it.
void prepareLibrary() {
    static const bool isPrepared = [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return true;
        if (!gcry_check_version(GCRYPT_VERSION)) return false;
        gcry_control(GCRYCTL_DISABLE_SECMEM_WARN);
        return gcry_control(GCRYCTL_INITIALIZATION_FINISHED) == 0;
    }();
    if (!isPrepared) std::abort();
}

/// Ready for one text; null where the library refuses.
gcrypt::Cipher cipherFor(const SymmetricKey& key, std::span<const std::uint8_t> nonce) {
    prepareLibrary();
    gcry_cipher_hd_t opened = nullptr;
    if (gcry_cipher_open(&opened, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_GCM, 0)) return nullptr;
    gcrypt::Cipher cipher(opened);
    const auto raw = key.raw();
    if (gcry_cipher_setkey(opened, raw.data(), raw.size()) ||
        gcry_cipher_setiv(opened, nonce.data(), nonce.size())) {
        return nullptr;
    }
    return cipher;
}

}  // namespace

const char* description(Error error) {
    switch (error) {
        case Error::incorrectParameterSize:
            return "incorrectParameterSize";
        case Error::authenticationFailure:
            return "authenticationFailure";
        case Error::cipherFailure:
            return "cipherFailure";
    }
    return "";
}

struct Sealing::State {
    std::array<std::uint8_t, nonceSize> nonce;
    gcrypt::Cipher cipher;
};

Sealing::Sealing(std::unique_ptr<State> state) : _state(std::move(state)) {}
Sealing::Sealing(Sealing&&) noexcept = default;
Sealing::~Sealing() = default;

std::optional<Sealing> Sealing::begin(const SymmetricKey& key) {
    auto state = std::make_unique<State>();
    fillRandom(state->nonce);
    state->cipher = cipherFor(key, state->nonce);
    if (!state->cipher) return std::nullopt;
    return Sealing(std::move(state));
}

ByteView Sealing::nonce() const { return _state->nonce; }

std::optional<Error> Sealing::add(ByteView piece, std::uint8_t* out) {
    if (piece.empty() ||
        !gcry_cipher_encrypt(_state->cipher.get(), out, piece.size(), piece.data(), piece.size())) {
        return std::nullopt;
    }
    return Error::cipherFailure;
}

std::optional<Error> Sealing::finish(std::span<std::uint8_t, tagSize> tag) {
    if (!gcry_cipher_gettag(_state->cipher.get(), tag.data(), tag.size())) return std::nullopt;
    return Error::cipherFailure;
}

std::optional<Error> openInPlace(std::span<std::uint8_t> combined, const SymmetricKey& key) {
    if (combined.size() < overhead) return Error::incorrectParameterSize;
    const auto nonce = combined.first(nonceSize);
    const auto text = combined.subspan(nonceSize, combined.size() - overhead);
    const auto tag = combined.last(tagSize);
    const auto cipher = cipherFor(key, nonce);
    if (!cipher) return Error::cipherFailure;
    const bool authentic =
        (text.empty() || !gcry_cipher_decrypt(cipher.get(), text.data(), text.size(), nullptr, 0)) &&
        !gcry_cipher_checktag(cipher.get(), tag.data(), tag.size());
    if (authentic) return std::nullopt;
    wipe(text);
    return Error::authenticationFailure;
}

}  // namespace aesgcm

}  // namespace vellumix
