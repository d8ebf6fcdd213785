#include "platform/desktop/CloudAccount.h"

#include "platform/desktop/Platform.h"
#include "platform/foundation/files/Setting.h"

namespace vellumix {

namespace {

const Setting<std::string> addressSetting("cloud.address");
const Setting<std::string> userSetting("cloud.user");

const KeychainItem passwordItem{.service = "com.tarnwick.Vellumix", .account = "CloudPassword"};

/// What stands before the password: the account that it is for, a line each.
std::string binding(const CloudAccount& account) { return account.address + '\n' + account.user + '\n'; }

}  // namespace

std::optional<CloudAccount> CloudAccount::stored() {
    const auto address = addressSetting.get();
    return address.empty() ? std::nullopt : std::optional(CloudAccount{address, userSetting.get()});
}

void CloudAccount::store(const std::optional<CloudAccount>& account) {
    if (!account) {
        addressSetting.remove();
        userSetting.remove();
        return;
    }
    addressSetting.set(account->address);
    userSetting.set(account->user);
}

OSStatus CloudAccount::keepPassword(const SecretText& password) const {
    const auto status = forgetPassword();
    if (status != errSecSuccess && status != errSecItemNotFound) return status;
    const auto head = binding(*this);
    std::vector<std::uint8_t, WipingAllocator<std::uint8_t>> secret;
    secret.reserve(head.size() + password.view().size());
    secret.insert(secret.end(), head.begin(), head.end());
    secret.insert(secret.end(), password.view().begin(), password.view().end());
    return platform::current().keychain->SecItemAdd(passwordItem, secret);
}

OSStatus CloudAccount::forgetPassword() { return platform::current().keychain->SecItemDelete(passwordItem); }

CloudAccount::Password CloudAccount::password() const {
    auto match = platform::current().keychain->SecItemCopyMatching(passwordItem);
    if (match.status != errSecSuccess) return {match.status, std::nullopt};
    const auto head = binding(*this);
    const auto secret = asText(*match.data);
    Password password{.status = errSecItemNotFound};
    if (secret.starts_with(head)) password = {errSecSuccess, SecretText(secret.substr(head.size()))};
    wipe(*match.data);
    return password;
}

}  // namespace vellumix
