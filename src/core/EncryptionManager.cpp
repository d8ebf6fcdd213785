#include "core/EncryptionManager.h"

#include "platform/desktop/Platform.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"

namespace vellumix {

namespace {

constexpr Log log("Encryption");

KeychainItem keyItem() { return {EncryptionManager::keychainService, EncryptionManager::keychainAccount}; }

}  // namespace

EncryptionManager& EncryptionManager::shared() { return SharedInstances::current().get<EncryptionManager>(); }

EncryptionManager::LoadedKey EncryptionManager::loadKeyFromKeychain() {
    auto match = platform::current().keychain.SecItemCopyMatching(keyItem());
    LoadedKey loaded{std::nullopt, match.status};
    if (match.status == errSecItemNotFound) return loaded;
    if (match.status == errSecSuccess && match.data) loaded.key = SymmetricKey::fromRaw(*match.data);
    if (match.data) wipe(*match.data);
    if (!loaded.key) log.error("loadKeyFromKeychain: unexpected status " + std::to_string(match.status));
    return loaded;
}

bool EncryptionManager::saveKeyToKeychain(const SymmetricKey& key) {
    auto& keychain = platform::current().keychain;
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

bool EncryptionManager::encryptInPlace(Bytes& buffer, std::size_t offset) {
    const auto key = getOrCreateKey();
    if (!key) {
        log.error("encrypt: failed to get or create key");
        postFailure("encrypt", "key-unavailable");
        return false;
    }
    if (const auto error = aesgcm::sealInPlace(buffer, offset, *key)) {
        const std::string reason = aesgcm::description(*error);
        log.error("encrypt: AES-GCM seal failed: " + reason);
        postFailure("encrypt", reason);
        return false;
    }
    return true;
}

std::optional<Data> EncryptionManager::encrypt(ByteView data) {
    Bytes buffer;
    buffer.reserve(data.size() + aesgcm::overhead);
    buffer.resize(aesgcm::nonceSize);
    append(buffer, data);
    if (!encryptInPlace(buffer, 0)) return std::nullopt;
    return Data(std::move(buffer));
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

std::vector<std::optional<Bytes>> EncryptionManager::decryptAll(const std::vector<ByteView>& blobs) {
    std::vector<std::optional<Bytes>> plaintexts(blobs.size());
    const auto key = blobs.empty() ? std::nullopt : keyToDecrypt();
    for (std::size_t at = 0; key && at < blobs.size(); ++at) {
        auto copy = bytesOf(blobs[at]);
        if (const auto plaintext = open(copy, *key)) plaintexts[at] = bytesOf(*plaintext);
    }
    return plaintexts;
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
    auto copy = bytesOf(data);
    const auto plaintext = decryptInPlace(copy);
    return plaintext ? std::optional(bytesOf(*plaintext)) : std::nullopt;
}

}  // namespace vellumix
