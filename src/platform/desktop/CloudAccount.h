#pragma once

#include <optional>
#include <string>

#include "platform/desktop/Keychain.h"
#include "platform/foundation/cipher/SecretText.h"

namespace vellumix {

/// A person's account with a cloud: where it is, and who they are there. Kept in the settings; the password
/// is in the keychain. Main thread.
struct CloudAccount {
    std::string address;
    std::string user;

    /// The one in the settings, or nothing.
    static std::optional<CloudAccount> stored();
    /// In the place of any other; nothing removes it.
    static void store(const std::optional<CloudAccount>& account);

    /// In the place of any other password. It is bound to this address and this name: whoever changes the
    /// settings can't have it sent elsewhere.
    OSStatus keepPassword(const SecretText& password) const;
    static OSStatus forgetPassword();
    struct Password {
        /// `errSecItemNotFound` also for one that was kept for another account.
        OSStatus status = errSecSuccess;
        /// Present with `errSecSuccess` alone.
        std::optional<SecretText> text;
    };
    Password password() const;

    friend bool operator==(const CloudAccount&, const CloudAccount&) = default;
};

}  // namespace vellumix
