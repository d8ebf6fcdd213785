#pragma once

#include <functional>
#include <memory>

#include "delivery/GlobalCutInterceptor.h"
#include "delivery/HotKey.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix {

/// Keeps the hotkey and the cut in step with the shortcuts that a person has chosen, and hands the presses of
/// the hotkey on. Main thread only.
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
    /// Starts the cut anew with this shortcut, or stops it. What can't be had is told as `start` tells it.
    void updateCut(const Shortcut& shortcut, bool isEnabled);

    /// Absent before the launch.
    std::unique_ptr<GlobalCutInterceptor> cutInterceptor;

private:
    GlobalHotkeyManager manager;
    const std::function<void()> onToggle;
    Lifetime lifetime;
};

}  // namespace vellumix
