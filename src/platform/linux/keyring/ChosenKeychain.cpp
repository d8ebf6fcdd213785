#include "platform/linux/keyring/ChosenKeychain.h"

#include <utility>

#include "platform/foundation/cipher/AESGCM.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/promises/Describing.h"
#include "platform/foundation/promises/MainThread.h"

namespace vellumix::linux_desktop {

namespace {

constexpr Log logger("Encryption");
constexpr std::string_view secretServiceWord = "secret-service";
constexpr std::string_view keyFileWord = "key-file";
/// More than a word and its line end, in bytes.
constexpr std::size_t wordLimit = 64;

std::string choicePath(const std::string& folder) { return folder + "/keychain"; }

std::string_view withoutLineEnd(std::string_view text) {
    while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
    return text;
}

}  // namespace

ChosenKeychain::ChosenKeychain(FileSystem& files, std::string folder, KeychainPatience patience)
    : files(files),
      folder(std::move(folder)),
      secretService(std::move(patience)),
      keyFile(files, this->folder),
      choice_(readChoice()) {}

void ChosenKeychain::prepare() {
    if (choice_ == Choice::secretService) secretService.prepare();
}

void ChosenKeychain::clearLeftovers(const KeychainItem& item) {
    removeLeftovers(files, choicePath(folder));
    keyFile.clearLeftovers(item);
}

ChosenKeychain::Choice ChosenKeychain::readChoice() {
    Bytes content;
    const auto error = files.read(choicePath(folder), wordLimit, content);
    if (error == std::errc::no_such_file_or_directory) return Choice::none;
    const auto word = withoutLineEnd(asText(content));
    if (!error && word == secretServiceWord) return Choice::secretService;
    if (!error && word == keyFileWord) return Choice::keyFile;
    whyUnreadable = error ? error.message() : "unknown content";
    return Choice::unreadable;
}

ChosenKeychain::Choice ChosenKeychain::choice() {
    // What kept it from being read may have passed.
    if (choice_ == Choice::unreadable) choice_ = readChoice();
    return choice_;
}

OSStatus ChosenKeychain::unreadable() {
    return refuse("The file \"keychain\" can't be read; no key is used or made: " + whyUnreadable);
}

OSStatus ChosenKeychain::refuse(const std::string& why) {
    if (lastTold != why) logger.error(why);
    lastTold = why;
    return errSecIO;
}

/// Without the word, the key has gone with its folder, and the folder may come back: a second key would leave
/// what comes back unreadable.
bool ChosenKeychain::isKeyFileInPlace() { return readChoice() == Choice::keyFile; }

Keychain::Match ChosenKeychain::copyFromKeyFile(const KeychainItem& item) {
    auto match = keyFile.SecItemCopyMatching(item);
    if (match.status == errSecItemNotFound && !isKeyFileInPlace()) match.status = keyFileHasGone();
    return match;
}

OSStatus ChosenKeychain::keyFileHasGone() {
    return refuse("The data folder has gone, and the key with it; no other key is made: " + folder);
}

bool ChosenKeychain::choose(Choice choice) {
    const auto path = choicePath(folder);
    auto error = files.makeFolder(folder);
    const auto word = choice == Choice::keyFile ? keyFileWord : secretServiceWord;
    if (!error) error = writeAtomically(files, path, viewOf(std::string(word) + '\n'));
    if (error) {
        logger.error("The choice of the keychain can't be written: " + error.message());
        return false;
    }
    choice_ = choice;
    if (choice == Choice::keyFile)
        logger.info("There is no Secret Service; the encryption key is kept in a file of the data folder");
    return true;
}

Keychain::Match ChosenKeychain::copyAndChoose(const KeychainItem& item) {
    if (keyFile.holds(item))
        return choose(Choice::keyFile) ? keyFile.SecItemCopyMatching(item) : Match{errSecIO, std::nullopt};
    auto match = secretService.SecItemCopyMatching(item);
    switch (secretService.contact()) {
        case SecretServiceKeychain::Contact::answered:
            // A key that is already there is safe to use; a new one must wait until the choice is on the
            // disk.
            if (!choose(Choice::secretService) && match.status == errSecItemNotFound) match.status = errSecIO;
            return match;
        case SecretServiceKeychain::Contact::impossible:
            return choose(Choice::keyFile) ? keyFile.SecItemCopyMatching(item)
                                           : Match{errSecIO, std::nullopt};
        case SecretServiceKeychain::Contact::unclear:
            break;
    }
    return match;
}

Keychain::Match ChosenKeychain::SecItemCopyMatching(const KeychainItem& item) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    switch (choice()) {
        case Choice::none:
            return copyAndChoose(item);
        case Choice::secretService:
            return secretService.SecItemCopyMatching(item);
        case Choice::keyFile:
            return copyFromKeyFile(item);
        case Choice::unreadable:
            break;
    }
    return {unreadable(), std::nullopt};
}

/// Makes the choice, if need be, by a look for the item, and passes the call on.
template <class Call>
OSStatus ChosenKeychain::withChosen(const KeychainItem& item, Call call) {
    if (choice() == Choice::none) {
        auto match = copyAndChoose(item);
        if (match.data) wipe(*match.data);
        if (choice_ == Choice::none) return match.status == errSecSuccess ? errSecIO : match.status;
    }
    if (choice_ == Choice::unreadable) return unreadable();
    if (choice_ == Choice::secretService) return call(secretService);
    return isKeyFileInPlace() ? call(keyFile) : keyFileHasGone();
}

OSStatus ChosenKeychain::SecItemDelete(const KeychainItem& item) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    return withChosen(item, [&](Keychain& chosen) { return chosen.SecItemDelete(item); });
}

OSStatus ChosenKeychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    assertMainThread();
    assertNotDescribing("the keychain was asked");
    return withChosen(item, [&](Keychain& chosen) { return chosen.SecItemAdd(item, secret); });
}

std::string ChosenKeychain::description() const {
    switch (choice_) {
        case Choice::secretService:
            return secretService.description();
        case Choice::keyFile:
            return keyFile.description();
        case Choice::none:
        case Choice::unreadable:
            break;
    }
    return "none yet";
}

}  // namespace vellumix::linux_desktop
