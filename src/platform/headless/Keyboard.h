#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/Keyboard.h"
#include "platform/desktop/Pasteboard.h"
#include "platform/desktop/Workspace.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix::headless {

/// Hotkeys in memory, pressed by whoever holds the service.
class Hotkeys final : public vellumix::Hotkeys {
public:
    /// A virtual key code and its modifiers.
    using Combination = std::pair<std::uint32_t, std::uint32_t>;

    std::optional<Observation> RegisterEventHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                                                   const EventHandlerRef& target) override;

    bool hasAllHotKeys() const override;

    /// Somebody presses the keys; false when nobody has registered them.
    bool press(const Combination& combination);

    /// In the order of the calls.
    std::vector<Combination> registered;
    /// What other programs have.
    std::vector<Combination> taken;

private:
    std::map<Combination, std::weak_ptr<const std::function<void()>>> targets;
    Lifetime lifetime;
};

/// Keeps what was posted, and what the application in front would have pasted.
class SyntheticKeys final : public vellumix::SyntheticKeys {
public:
    struct Posting {
        KeyChord chord;
        /// The process in front; 0 when there was none.
        int to = 0;
        std::optional<String> text;
    };

    SyntheticKeys(const NSWorkspace& workspace, const NSPasteboard& pasteboard)
        : workspace(workspace), pasteboard(pasteboard) {}

    bool AXIsProcessTrustedWithOptions(bool prompts) override {
        if (prompts && !isTrusted) ++promptsShown;
        return isTrusted;
    }
    void CGEventPost(const KeyChord& chord) override;

    bool isTrusted = true;
    int promptsShown = 0;
    std::vector<Posting> posted;

private:
    const NSWorkspace& workspace;
    const NSPasteboard& pasteboard;
};

}  // namespace vellumix::headless
