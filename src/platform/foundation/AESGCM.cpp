#include "platform/foundation/AESGCM.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cstdlib>

#include "platform/foundation/OpenSSLHandles.h"

namespace vellumix {

namespace {

/// Before the first use of the library: without its configuration, which an environment variable could
/// replace, and which costs start-up time and memory for nothing that we use.
void prepareLibrary() {
    static const bool isPrepared = OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1;
    if (!isPrepared) std::abort();
}

}  // namespace

void wipe(std::span<std::uint8_t> bytes) { OPENSSL_cleanse(bytes.data(), bytes.size()); }

void fillRandom(std::span<std::uint8_t> bytes) {
    prepareLibrary();
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) std::abort();
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

/// EVP takes lengths as int.
constexpr std::size_t largestStep = std::size_t{1} << 30;

template <auto Update>
bool updateInSteps(EVP_CIPHER_CTX* context, std::uint8_t* out, const std::uint8_t* in, std::size_t size) {
    while (size > 0) {
        const auto step = std::min(size, largestStep);
        int written = 0;
        if (Update(context, out, &written, in, static_cast<int>(step)) != 1) return false;
        out += step;
        in += step;
        size -= step;
    }
    return true;
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

std::optional<Error> sealInPlace(Bytes& buffer, std::size_t offset, const SymmetricKey& key) {
    if (buffer.size() < offset + nonceSize) return Error::incorrectParameterSize;
    const openssl::CipherContext context(EVP_CIPHER_CTX_new());
    const std::span nonce(buffer.data() + offset, nonceSize);
    fillRandom(nonce);
    if (!context ||
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.raw().data(), nonce.data()) != 1) {
        return Error::cipherFailure;
    }
    const auto size = buffer.size() - offset - nonceSize;
    buffer.resize(buffer.size() + tagSize);
    auto* const text = buffer.data() + offset + nonceSize;
    int rest = 0;
    if (!updateInSteps<EVP_EncryptUpdate>(context.get(), text, text, size) ||
        EVP_EncryptFinal_ex(context.get(), text + size, &rest) != 1 ||
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, tagSize, text + size) != 1) {
        // The only way here is a broken library after part of the text was enciphered: nothing left can be
        // trusted.
        std::abort();
    }
    return std::nullopt;
}

std::optional<Error> openInPlace(std::span<std::uint8_t> combined, const SymmetricKey& key) {
    if (combined.size() < overhead) return Error::incorrectParameterSize;
    prepareLibrary();
    const auto nonce = combined.first(nonceSize);
    const auto text = combined.subspan(nonceSize, combined.size() - overhead);
    const auto tag = combined.last(tagSize);
    const openssl::CipherContext context(EVP_CIPHER_CTX_new());
    if (!context ||
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key.raw().data(), nonce.data()) != 1) {
        return Error::cipherFailure;
    }
    std::uint8_t none = 0;
    int rest = 0;
    const bool authentic =
        updateInSteps<EVP_DecryptUpdate>(context.get(), text.data(), text.data(), text.size()) &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, tagSize, tag.data()) == 1 &&
        EVP_DecryptFinal_ex(context.get(), &none, &rest) == 1;
    if (authentic) return std::nullopt;
    wipe(text);
    return Error::authenticationFailure;
}

}  // namespace aesgcm

}  // namespace vellumix
