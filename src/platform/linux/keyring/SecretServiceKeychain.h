#pragma once

#include <functional>
#include <memory>

#include "platform/desktop/Keychain.h"

namespace vellumix::linux_desktop {

/// How long the keychain waits, in seconds, and for whom.
struct KeychainPatience {
    /// For all that the service itself has to say to one call.
    double forService = 5;
    /// The same for the first call of the process, when the service may only be starting with the session.
    double forServiceAtFirst = 15;
    /// For the user's answer to the first question of the process.
    double forUser = 60;
    /// After an answer that didn't come, calls report it again at once for so long: each would stall the
    /// program.
    double afterSilence = 30;
    /// After the user has turned a question down, none is asked for so long.
    double afterRefusal = 300;
    /// Whether the user can answer a question of the desktop's now, for which a window of this program must
    /// not have the keyboard. Without it, always.
    std::function<bool()> canUserAnswer = {};
};

/// Secrets in the Secret Service of the desktop (Secret Service API 0.2, freedesktop.org), by libsecret.
///
/// The service doesn't show items of a locked collection, so that "not found" is reported only after it has
/// answered and said that its default collection is open. When there is no default collection, adding an item
/// has the service make one, which asks the user for a password.
///
/// The first call that finds something locked, or nowhere to put the key, has the desktop ask the user and
/// waits for the answer, on a context of its own: the program's timers and events stand still. Mostly the
/// history isn't loaded yet; it is saved for the first time in a fresh profile. A termination signal ends the
/// wait. While the user can't answer, and ever after, the desktop asks, one question at a time, and the call
/// fails at once.
class SecretServiceKeychain final : public Keychain {
public:
    /// What has been seen of the service.
    enum class Contact {
        /// Nothing that would tell whether there is one.
        unclear,
        /// It has answered, be it with an error.
        answered,
        /// There is no session bus, or nothing on it that is or could be started as the service.
        impossible,
    };

    explicit SecretServiceKeychain(KeychainPatience patience = {});
    ~SecretServiceKeychain() override;

    Match SecItemCopyMatching(const KeychainItem& item) override;
    OSStatus SecItemDelete(const KeychainItem& item) override;
    OSStatus SecItemAdd(const KeychainItem& item, ByteView secret) override;

    /// Begins to open a session with the service on a thread of its own: what both sides calculate for it
    /// takes longer than all else that a call does. The first call waits for its end, a second at most, and
    /// opens one itself where there is none then. Before any call.
    void prepare();

    std::string description() const override;

    /// What the last call has seen.
    Contact contact() const;

private:
    class Service;
    std::unique_ptr<Service> service;
};

}  // namespace vellumix::linux_desktop
