#pragma once

#include "platform/desktop/Keychain.h"
#include "platform/foundation/files/FileSystem.h"

namespace vellumix::linux_desktop {

/// Secrets in files of the data folder, readable by their owner alone, for desktops without a Secret Service.
/// An item is the file "<service>.<account>".
///
/// "Not found" means that there is no such file; a file that can't be read is `errSecIO`, and one with other
/// content than was written is a success with that content. A file that others may read is closed to them,
/// and the log says so.
class KeyFileKeychain final : public Keychain {
public:
    /// `files` outlives the keychain.
    KeyFileKeychain(FileSystem& files, std::string folder);

    Match SecItemCopyMatching(const KeychainItem& item) override;
    OSStatus SecItemDelete(const KeychainItem& item) override;
    /// Never replaces a file.
    OSStatus SecItemAdd(const KeychainItem& item, ByteView secret) override;
    std::string description() const override;

    bool holds(const KeychainItem& item) const;
    /// Removes what a write of the item that was killed halfway left behind.
    void clearLeftovers(const KeychainItem& item);

private:
    std::string pathOf(const KeychainItem& item) const;
    void closeToOthers(const std::string& path);

    FileSystem& files;
    std::string folder;
    bool hasToldOfOpenFile = false;
};

}  // namespace vellumix::linux_desktop
