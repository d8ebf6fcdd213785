#pragma once

#include <functional>

#include "delivery/HotKey.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix {

/// Keeps the hotkey in step with the shortcut that a person has chosen, and hands its presses on. Main thread
/// only.
class HotkeyCoordinator {
public:
    /// `onToggle` is called at each press, on a later turn of the loop.
    explicit HotkeyCoordinator(std::function<void()> onToggle);
    HotkeyCoordinator(const HotkeyCoordinator&) = delete;
    HotkeyCoordinator& operator=(const HotkeyCoordinator&) = delete;

    /// False when the desktop refuses it; then no hotkey is left.
    bool updateHotkey(const Shortcut& shortcut);
    /// False when the desktop refuses it, or another program has it at present.
    bool hasHotkey() const { return manager.hasHotKey(); }

private:
    GlobalHotkeyManager manager;
    const std::function<void()> onToggle;
    Lifetime lifetime;
};

}  // namespace vellumix
