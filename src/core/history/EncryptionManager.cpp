#include "core/history/EncryptionManager.h"

#include <algorithm>
#include <new>

#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/promises/MainThread.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

constexpr Log log("Encryption");

KeychainItem keyItem() { return {EncryptionManager::keychainService, EncryptionManager::keychainAccount}; }

}  // namespace

EncryptionManager& EncryptionManager::shared() { return SharedInstances::current().get<EncryptionManager>(); }

EncryptionManager::LoadedKey EncryptionManager::loadKeyFromKeychain() {
    assertMainThread();
    auto match = platform::current().keychain->SecItemCopyMatching(keyItem());
    LoadedKey loaded{std::nullopt, match.status};
    if (match.status == errSecItemNotFound) return loaded;
    if (match.status == errSecSuccess && match.data) loaded.key = SymmetricKey::fromRaw(*match.data);
    if (match.data) wipe(*match.data);
    if (!loaded.key) log.error("loadKeyFromKeychain: unexpected status " + std::to_string(match.status));
    return loaded;
}

bool EncryptionManager::saveKeyToKeychain(const SymmetricKey& key) {
    auto& keychain = *platform::current().keychain;
    const auto deleted = keychain.SecItemDelete(keyItem());
    if (deleted != errSecSuccess && deleted != errSecItemNotFound) {
        log.error("saveKeyToKeychain: delete returned " + std::to_string(deleted));
    }
    const auto added = keychain.SecItemAdd(keyItem(), key.raw());
    if (added == errSecSuccess) return true;
    log.error("saveKeyToKeychain: SecItemAdd failed with " + std::to_string(added));
    return false;
}

std::optional<SymmetricKey> EncryptionManager::getOrCreateKey() {
    const auto loaded = loadKeyFromKeychain();
    if (loaded.key) return loaded.key;
    if (loaded.status != errSecItemNotFound) {
        log.error("getOrCreateKey: Keychain error " + std::to_string(loaded.status) +
                  " — refusing to create new key to prevent data loss");
        return std::nullopt;
    }
    const auto key = SymmetricKey::random();
    if (!saveKeyToKeychain(key)) return std::nullopt;
    return key;
}

void EncryptionManager::postFailure(const char* operation, const std::string& reason) {
    NotificationCenter::defaultCenter().post(failedNotification,
                                             {{"operation", operation}, {"reason", reason}});
}

template <class Work>
std::invoke_result_t<Work> EncryptionManager::withMemory(const char* operation, Work work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        log.error(std::string(operation) + ": not enough memory");
        postFailure(operation, "noMemory");
        return std::nullopt;
    }
}

std::optional<aesgcm::Sealing> EncryptionManager::beginSealing() {
    const auto key = getOrCreateKey();
    if (!key) {
        log.error("encrypt: failed to get or create key");
        postFailure("encrypt", "key-unavailable");
        return std::nullopt;
    }
    auto sealing = aesgcm::Sealing::begin(*key);
    if (!sealing) sealFailed(aesgcm::Error::cipherFailure);
    return sealing;
}

EncryptionManager::Outcome EncryptionManager::sealFailed(aesgcm::Error error) {
    const std::string reason = aesgcm::description(error);
    log.error("encrypt: AES-GCM seal failed: " + reason);
    postFailure("encrypt", reason);
    return Outcome::failed;
}

EncryptionManager::Outcome EncryptionManager::encrypt(const ByteSource& plaintext, BlockBuffer& out) {
    auto sealing = beginSealing();
    if (!sealing) return Outcome::failed;
    if (!out.append(sealing->nonce())) return Outcome::noPlaintext;
    std::optional<aesgcm::Error> error;
    const auto encipher = [&](ByteView part, std::uint8_t* to) { return !(error = sealing->add(part, to)); };
    const bool isWhole = plaintext([&](ByteView piece) { return out.append(piece, encipher); });
    if (error) return sealFailed(*error);
    if (!isWhole) return Outcome::noPlaintext;
    std::array<std::uint8_t, aesgcm::tagSize> tag;
    if ((error = sealing->finish(tag))) return sealFailed(*error);
    return out.append(tag) ? Outcome::done : Outcome::noPlaintext;
}

std::optional<Data> EncryptionManager::encrypt(ByteView data) {
    return withMemory("encrypt", [&]() -> std::optional<Data> {
        auto sealing = beginSealing();
        if (!sealing) return std::nullopt;
        Bytes blob(data.size() + aesgcm::overhead);
        std::ranges::copy(sealing->nonce(), blob.begin());
        auto error = sealing->add(data, blob.data() + aesgcm::nonceSize);
        if (!error) error = sealing->finish(std::span(blob).last<aesgcm::tagSize>());
        if (!error) return Data(std::move(blob));
        sealFailed(*error);
        return std::nullopt;
    });
}

std::optional<SymmetricKey> EncryptionManager::keyToDecrypt() {
    auto key = getOrCreateKey();
    if (!key) {
        log.error("decrypt: failed to get or create key");
        postFailure("decrypt", "key-unavailable");
    }
    return key;
}

std::optional<ByteView> EncryptionManager::decryptInPlace(std::span<std::uint8_t> combined) {
    const auto key = keyToDecrypt();
    return key ? open(combined, *key) : std::nullopt;
}

std::optional<String> EncryptionManager::decryptText(ByteView data) {
    const auto key = keyToDecrypt();
    return key ? openText(data, *key) : std::nullopt;
}

std::vector<std::optional<String>> EncryptionManager::decryptTexts(const std::vector<ByteView>& blobs) {
    std::vector<std::optional<String>> texts(blobs.size());
    const auto key = blobs.empty() ? std::nullopt : keyToDecrypt();
    if (key)
        std::ranges::transform(blobs, texts.begin(), [&](ByteView blob) { return openText(blob, *key); });
    return texts;
}

std::optional<String> EncryptionManager::openText(ByteView combined, const SymmetricKey& key) {
    return withMemory("decrypt", [&]() -> std::optional<String> {
        auto copy = bytesOf(combined);
        const auto plaintext = open(copy, key);
        if (!plaintext || !isValidUTF8(asText(*plaintext))) return std::nullopt;
        return String(asText(*plaintext));
    });
}

std::optional<ByteView> EncryptionManager::open(std::span<std::uint8_t> combined, const SymmetricKey& key) {
    if (const auto error = aesgcm::openInPlace(combined, key)) {
        const std::string reason = aesgcm::description(*error);
        log.error("decrypt: AES-GCM open failed: " + reason);
        postFailure("decrypt", reason);
        return std::nullopt;
    }
    return combined.subspan(aesgcm::nonceSize, combined.size() - aesgcm::overhead);
}

std::optional<Bytes> EncryptionManager::decrypt(ByteView data) {
    return withMemory("decrypt", [&]() -> std::optional<Bytes> {
        auto copy = bytesOf(data);
        const auto plaintext = decryptInPlace(copy);
        return plaintext ? std::optional(bytesOf(*plaintext)) : std::nullopt;
    });
}

}  // namespace vellumix
