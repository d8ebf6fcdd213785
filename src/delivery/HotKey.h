#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "delivery/Shortcut.h"
#include "platform/desktop/Keyboard.h"

namespace vellumix {

/// One registered hotkey: what exists is registered. Main thread only.
class HotKey {
public:
    /// Null when the desktop doesn't give the combination.
    static std::unique_ptr<HotKey> make(std::uint32_t keyCode, std::uint32_t modifiers,
                                        std::function<void()> handler);
    ~HotKey();
    HotKey(const HotKey&) = delete;
    HotKey& operator=(const HotKey&) = delete;

private:
    explicit HotKey(std::function<void()> handler);

    std::optional<Observation> hotKeyRef;
    EventHandlerRef eventHandlerRef;
    std::function<void()> handler;
};

/// Holds the one hotkey that the program has at a time. Main thread only.
class GlobalHotkeyManager {
public:
    /// Calls the handler at each press, inside the dispatching of events. The old registration ends before
    /// the new one is tried; when that is refused there is none.
    bool registerHotKey(const Shortcut& shortcut, std::function<void()> handler);
    /// Whether there is a hotkey, and no other program has its keys.
    bool hasHotKey() const;

private:
    std::unique_ptr<HotKey> hotKey;
};

}  // namespace vellumix
