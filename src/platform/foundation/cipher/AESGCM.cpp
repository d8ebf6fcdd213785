#include "platform/foundation/cipher/AESGCM.h"

#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "platform/foundation/cipher/GcryptHandles.h"
#include "platform/foundation/cipher/Ghash.h"
#include "platform/foundation/promises/Describing.h"

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
    fillRandom(key.bytes);
    return key;
}

std::optional<SymmetricKey> SymmetricKey::fromRaw(ByteView bytes) {
    if (bytes.size() != size) return std::nullopt;
    SymmetricKey key;
    std::copy(bytes.begin(), bytes.end(), key.bytes.begin());
    return key;
}

namespace aesgcm {

namespace {

/// Null where the library refuses.
gcrypt::Cipher openCipher(const SymmetricKey& key, int mode) {
    gcry_cipher_hd_t opened = nullptr;
    if (!gcrypt::prepareLibrary() || gcry_cipher_open(&opened, GCRY_CIPHER_AES256, mode, 0)) return nullptr;
    gcrypt::Cipher cipher(opened);
    const auto raw = key.raw();
    return gcry_cipher_setkey(opened, raw.data(), raw.size()) ? nullptr : std::move(cipher);
}

/// Ready for one text; null where the library refuses.
gcrypt::Cipher cipherFor(const SymmetricKey& key, ByteView nonce) {
    auto cipher = openCipher(key, GCRY_CIPHER_MODE_GCM);
    if (!cipher || gcry_cipher_setiv(cipher.get(), nonce.data(), nonce.size())) return nullptr;
    return cipher;
}

/// In FIPS mode the library enciphers in this mode only under a nonce that it drew itself, and this version
/// has no call for that. It allows counter mode, of which this mode is made (SP 800-38D, section 7.1): the
/// blocks behind the one that covers the tag encipher the text.
class CounterSealing {
public:
    static std::unique_ptr<CounterSealing> begin(const SymmetricKey& key, ByteView nonce) {
        auto cipher = openCipher(key, GCRY_CIPHER_MODE_CTR);
        Ghash::Block subkey{};
        Ghash::Block counter{};
        if (!cipher || !encipher(*cipher, counter, subkey)) return nullptr;
        std::ranges::copy(nonce, counter.begin());
        counter.back() = 1;
        Ghash::Block cover{};
        if (!encipher(*cipher, counter, cover)) return nullptr;
        auto sealing = std::make_unique<CounterSealing>(std::move(cipher), subkey, cover);
        wipe(subkey);
        return sealing;
    }
    CounterSealing(gcrypt::Cipher cipher, const Ghash::Block& subkey, const Ghash::Block& cover)
        : cipher(std::move(cipher)), hash(subkey), cover(cover) {}

    bool add(ByteView piece, std::uint8_t* out) {
        if (gcry_cipher_encrypt(cipher.get(), out, piece.size(), piece.data(), piece.size())) return false;
        hash.add({out, piece.size()});
        return true;
    }
    void finish(std::span<std::uint8_t, tagSize> tag) {
        std::ranges::transform(hash.finish(), cover, tag.begin(), std::bit_xor());
    }

private:
    static bool encipher(gcry_cipher_handle& cipher, const Ghash::Block& counter, Ghash::Block& block) {
        return !gcry_cipher_setctr(&cipher, counter.data(), counter.size()) &&
               !gcry_cipher_encrypt(&cipher, block.data(), block.size(), nullptr, 0);
    }

    gcrypt::Cipher cipher;
    Ghash hash;
    Ghash::Block cover;
};

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
    /// One of the two.
    gcrypt::Cipher cipher;
    std::unique_ptr<CounterSealing> counter;
};

Sealing::Sealing(std::unique_ptr<State> state) : state(std::move(state)) {}
Sealing::Sealing(Sealing&&) noexcept = default;
Sealing::~Sealing() = default;

std::optional<Sealing> Sealing::begin(const SymmetricKey& key) {
    assertNotDescribing("something was enciphered");
    auto state = std::make_unique<State>();
    fillRandom(state->nonce);
    if (gcrypt::prepareLibrary() && gcry_fips_mode_active()) {
        state->counter = CounterSealing::begin(key, state->nonce);
    } else {
        state->cipher = cipherFor(key, state->nonce);
    }
    if (!state->cipher && !state->counter) return std::nullopt;
    return Sealing(std::move(state));
}

ByteView Sealing::nonce() const { return state->nonce; }

std::optional<Error> Sealing::add(ByteView piece, std::uint8_t* out) {
    if (piece.empty()) return std::nullopt;
    const bool isDone = state->counter ? state->counter->add(piece, out)
                                       : !gcry_cipher_encrypt(state->cipher.get(), out, piece.size(),
                                                              piece.data(), piece.size());
    return isDone ? std::nullopt : std::optional(Error::cipherFailure);
}

std::optional<Error> Sealing::finish(std::span<std::uint8_t, tagSize> tag) {
    if (state->counter) {
        state->counter->finish(tag);
        return std::nullopt;
    }
    if (!gcry_cipher_gettag(state->cipher.get(), tag.data(), tag.size())) return std::nullopt;
    return Error::cipherFailure;
}

std::optional<Error> openInPlace(std::span<std::uint8_t> combined, const SymmetricKey& key) {
    assertNotDescribing("something was deciphered");
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
