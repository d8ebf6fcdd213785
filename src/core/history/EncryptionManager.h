#pragma once

#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/desktop/Keychain.h"
#include "platform/foundation/bytes/BlockBuffer.h"
#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/cipher/AESGCM.h"
#include "platform/foundation/text/String.h"

namespace vellumix {

/// Enciphers and deciphers with the one key of the user, which lives in the keychain and is read from it anew
/// for each call. Main thread, as the keychain and the notifications are.
///
/// When the keychain answers with anything but "no such item", no key is ever made: a second key would leave
/// everything enciphered with the first unreadable. A failure, a lack of memory among them, has been logged
/// and has posted "EncryptionFailed" (user info "operation" and "reason") before nothing is returned; it
/// isn't remembered, and the next call tries again.
class EncryptionManager {
public:
    static constexpr const char* keychainService = "com.tarnwick.Vellumix";
    static constexpr const char* keychainAccount = "encryption-key";
    static constexpr const char* failedNotification = "EncryptionFailed";

    enum class Outcome {
        done,
        /// As told; what was appended is of no use.
        failed,
        /// The plaintext didn't come whole, or there was no memory: nothing has been told.
        noPlaintext,
    };

    static EncryptionManager& shared();

    /// A blob in combined form: nonce, ciphertext, tag.
    std::optional<Data> encrypt(ByteView data);
    /// The same, piece by piece: appends the blob of what `plaintext` gives.
    Outcome encrypt(const ByteSource& plaintext, BlockBuffer& out);
    /// The plaintext of a blob in combined form.
    std::optional<Bytes> decrypt(ByteView data);
    /// The same for a text; nothing for what isn't UTF-8, which has not been told.
    std::optional<String> decryptText(ByteView data);
    /// The texts of several blobs, in order, with one read of the key; nothing in the place of one that can't
    /// be opened.
    std::vector<std::optional<String>> decryptTexts(const std::vector<ByteView>& blobs);
    /// The same in place: the view of the plaintext is a part of `combined`, which a failure leaves of no
    /// use.
    std::optional<ByteView> decryptInPlace(std::span<std::uint8_t> combined);

private:
    struct LoadedKey {
        std::optional<SymmetricKey> key;
        OSStatus status = errSecSuccess;
    };

    std::optional<SymmetricKey> getOrCreateKey();
    /// The key for deciphering; without one, that has been told.
    std::optional<SymmetricKey> keyToDecrypt();
    std::optional<ByteView> open(std::span<std::uint8_t> combined, const SymmetricKey& key);
    std::optional<String> openText(ByteView combined, const SymmetricKey& key);
    /// Ready to encipher; when it isn't, that has been told.
    std::optional<aesgcm::Sealing> beginSealing();
    Outcome sealFailed(aesgcm::Error error);
    LoadedKey loadKeyFromKeychain();
    bool saveKeyToKeychain(const SymmetricKey& key);
    /// What `work` gives; nothing where there is no memory for it, which is told.
    template <class Work>
    std::invoke_result_t<Work> withMemory(const char* operation, Work work);
    void postFailure(const char* operation, const std::string& reason);
};

}  // namespace vellumix
