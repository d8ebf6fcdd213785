#include "shell/AccountCommands.h"

#include <cstdio>

#include "platform/desktop/Platform.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

void print(const std::string& sentence) { std::puts(sentence.c_str()); }

ExitStatus refuse(std::string_view textKey) {
    say(localized(textKey));
    return ExitStatus::impossible;
}

/// Why the keychain didn't do what it was asked.
std::string_view textKeyOf(OSStatus status) {
    const bool isLocked = status == errSecInteractionNotAllowed || status == errSecUserCanceled;
    return isLocked ? "account.keychainLocked" : "account.keychainFails";
}

}  // namespace

ExitStatus AccountCommands::perform(const CommandLine::Account& request) const {
    using Action = CommandLine::Account::Action;
    switch (request.action) {
        case Action::set:
            return set({request.address, request.user.value_or(options.loginName)});
        case Action::show:
            return show();
        case Action::check:
            return check();
        case Action::remove:
            return remove();
    }
    return ExitStatus::impossible;
}

ExitStatus AccountCommands::set(const CloudAccount& account) const {
    if (!platform::current().cloud->canReach(account.address)) return refuse("account.badAddress");
    // In RFC 7617 section 2 a colon ends the name.
    if (account.user.empty() || account.user.find_first_of(":\n") != std::string::npos) {
        return refuse("account.badName");
    }
    const auto password = options.readPassword(localized("account.password", account.user));
    if (!password || password->view().empty()) return refuse("account.noPassword");
    if (const auto status = account.keepPassword(*password); status != errSecSuccess) {
        return refuse(textKeyOf(status));
    }
    if (!store(account)) return refuse("account.notStored");
    print(localized("account.stored", account.address));
    return ExitStatus::done;
}

ExitStatus AccountCommands::show() const {
    const auto account = CloudAccount::stored();
    if (!account) return refuse("sync.noAccount");
    print(localized("account.shown", account->user + " – " + account->address));
    return ExitStatus::done;
}

ExitStatus AccountCommands::check() const {
    struct Verdict {
        std::string sentence;
        bool isGood;
    };
    // The check may outlive the wait for it.
    const auto verdict = std::make_shared<std::optional<Verdict>>();
    platform::current().cloud->checkAccount([verdict](const std::string& sentence, bool isGood) {
        *verdict = {sentence, isGood};
    });
    platform::current().runLoop->runUntil([&] { return verdict->has_value(); });
    if (!*verdict) return refuse("account.checkBrokenOff");
    if (!(*verdict)->isGood) {
        say((*verdict)->sentence);
        return ExitStatus::impossible;
    }
    print((*verdict)->sentence);
    return ExitStatus::done;
}

ExitStatus AccountCommands::remove() const {
    const auto status = CloudAccount::forgetPassword();
    const bool isForgotten = status == errSecSuccess || status == errSecItemNotFound;
    // Without the address the password serves for nothing, so that the account is gone in any case.
    if (!store(std::nullopt)) return refuse("account.notStored");
    if (!isForgotten) return refuse(textKeyOf(status));
    print(localized("account.removed"));
    return ExitStatus::done;
}

bool AccountCommands::store(const std::optional<CloudAccount>& account) const {
    using Presence = RunningInstance::Presence;
    if (options.instance->presence() == Presence::running) return options.instance->takeAccount(account);
    if (!options.mayWriteSettings()) return false;
    CloudAccount::store(account);
    return UserDefaults::standard().synchronize();
}

}  // namespace vellumix
