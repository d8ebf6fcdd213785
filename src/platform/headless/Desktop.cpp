#include "platform/headless/Desktop.h"

#include <algorithm>

namespace vellumix::headless {

namespace {
std::string nameOf(const KeychainItem& item) { return item.service + '/' + item.account; }
}  // namespace

Keychain::Match Keychain::SecItemCopyMatching(const KeychainItem& item) {
    ++reads;
    if (refusesFromRead && reads >= refusesFromRead) return {errSecInteractionNotAllowed, std::nullopt};
    if (refusal) return {*refusal, std::nullopt};
    const auto found = items.find(nameOf(item));
    if (found == items.end()) return {errSecItemNotFound, std::nullopt};
    return {errSecSuccess, found->second};
}

OSStatus Keychain::SecItemDelete(const KeychainItem& item) {
    if (refusal) return *refusal;
    return items.erase(nameOf(item)) ? errSecSuccess : errSecItemNotFound;
}

OSStatus Keychain::SecItemAdd(const KeychainItem& item, ByteView secret) {
    if (refusal) return *refusal;
    ++additions;
    items[nameOf(item)] = bytesOf(secret);
    return errSecSuccess;
}

int Alerts::runModal(const NSAlert& alert) {
    ++shown;
    return answer ? answer(alert) : NSAlert::firstButtonReturn;
}

void MemoryLog::write(Level, std::string_view category, std::string_view message) {
    lines.push_back(std::string(category) + ": " + std::string(message));
}

bool MemoryLog::contains(std::string_view part) const {
    return std::ranges::any_of(lines,
                               [&](const std::string& line) { return line.find(part) != std::string::npos; });
}

Platform Desktop::platform() {
    return {
        .runLoop = runLoop,
        .log = log,
        .files = files,
        .pasteboard = pasteboard,
        .workspace = workspace,
        .keychain = keychain,
        .images = images,
        .alerts = alerts,
        .statusBar = statusBar,
        .applicationSupportDirectories = {"/home/user/.local/share"},
        .temporaryDirectory = "/tmp",
        .defaultsPath = "/home/user/.config/Vellumix/settings.plist",
        .preferredLanguages = {},
    };
}

}  // namespace vellumix::headless
