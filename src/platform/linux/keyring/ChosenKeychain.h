#pragma once

#include "platform/linux/keyring/KeyFileKeychain.h"
#include "platform/linux/keyring/SecretServiceKeychain.h"

namespace vellumix::linux_desktop {

/// The Secret Service, or key files where there has never been one. Chosen once and for good, as the key is
/// in one of them and a change of mind would make a second.
///
/// The choice is the one word "secret-service" or "key-file" in the file "keychain" of the data folder. The
/// first answer of a Secret Service, be it that everything is locked, chooses it; from then on its absence is
/// `errSecNotAvailable`. The first call that finds no session bus, or no service that is there or could be
/// started, chooses key files and says so in the log. A call that gets no clear answer chooses nothing. While
/// the choice can't be read or written no item is ever "not found", nor is it once a choice of key files has
/// gone from the disk.
class ChosenKeychain final : public Keychain {
public:
    /// `files` outlives the keychain. Reads the choice at once.
    ChosenKeychain(FileSystem& files, std::string folder, KeychainPatience patience = {});

    Match SecItemCopyMatching(const KeychainItem& item) override;
    OSStatus SecItemDelete(const KeychainItem& item) override;
    OSStatus SecItemAdd(const KeychainItem& item, ByteView secret) override;
    std::string description() const override;

    /// Begins what the first call will need and can be had without it, where the Secret Service is chosen.
    /// Before any call.
    void prepare();
    /// Removes what a write that was killed halfway left behind, of the choice and of the item's key file.
    void clearLeftovers(const KeychainItem& item);

private:
    enum class Choice { none, secretService, keyFile, unreadable };

    Choice readChoice();
    Choice choice();
    OSStatus unreadable();
    OSStatus keyFileHasGone();
    OSStatus refuse(const std::string& why);
    bool isKeyFileInPlace();
    Match copyFromKeyFile(const KeychainItem& item);
    bool choose(Choice choice);
    Match copyAndChoose(const KeychainItem& item);
    template <class Call>
    OSStatus withChosen(const KeychainItem& item, Call call);

    FileSystem& files;
    std::string folder;
    SecretServiceKeychain secretService;
    KeyFileKeychain keyFile;
    /// Said in the log with the first call: there is no log yet at the construction.
    std::string whyUnreadable;
    /// The line that need not be said again.
    std::string lastTold;
    Choice choice_;
};

}  // namespace vellumix::linux_desktop
