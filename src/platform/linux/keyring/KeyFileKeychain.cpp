#include "platform/linux/keyring/KeyFileKeychain.h"

#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::linux_desktop {

namespace {

/// More than a key or a password has, so that one of the wrong size is seen to be one.
constexpr std::size_t sizeLimit = std::size_t{4} << 10;

void logFailure(const std::error_code& error) { Log("Encryption").error("key file: " + error.message()); }

OSStatus statusOf(const std::error_code& error) {
    if (!error) return errSecSuccess;
    if (error == std::errc::no_such_file_or_directory) return errSecItemNotFound;
    logFailure(error);
    return errSecIO;
}

}  // namespace

KeyFileKeychain::KeyFileKeychain(FileSystem& files, std::string folder)
    : files(files), folder(std::move(folder)) {}

std::string KeyFileKeychain::pathOf(const KeychainItem& item) const {
    return folder + '/' + item.service + '.' + item.account;
}

bool KeyFileKeychain::holds(const KeychainItem& item) const { return files.exists(pathOf(item)); }

Keychain::Match KeyFileKeychain::SecItemCopyMatching(const KeychainItem& item) {
    Bytes content;
    const auto status = statusOf(files.read(pathOf(item), sizeLimit, content));
    if (status != errSecSuccess) return {status, std::nullopt};
    closeToOthers(pathOf(item));
    return {status, std::move(content)};
}

void KeyFileKeychain::closeToOthers(const std::string& path) {
    bool wasOpen = false;
    const auto error = files.makePrivate(path, wasOpen);
    if (!wasOpen || std::exchange(hasToldOfOpenFile, true)) return;
    const std::string rest = error ? ", and this can't be changed: " + error.message() : " until now";
    Log("Encryption").error("The key file could be read by others" + rest + ": " + path);
}

void KeyFileKeychain::clearLeftovers(const KeychainItem& item) { removeLeftovers(files, pathOf(item)); }

OSStatus KeyFileKeychain::SecItemDelete(const KeychainItem& item) {
    return statusOf(files.remove(pathOf(item)));
}

OSStatus KeyFileKeychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    const auto path = pathOf(item);
    if (holds(item)) return errSecIO;
    auto error = files.makeFolder(folder);
    if (!error) error = writeAtomically(files, path, secret);
    if (!error) return errSecSuccess;
    logFailure(error);
    return errSecIO;
}

std::string KeyFileKeychain::description() const { return "key file"; }

}  // namespace vellumix::linux_desktop
