#include "delivery/HotkeyCoordinator.h"

#include <utility>

#include "platform/foundation/RunLoop.h"

namespace vellumix {

HotkeyCoordinator::HotkeyCoordinator(std::function<void()> onToggle) : _onToggle(std::move(onToggle)) {}

bool HotkeyCoordinator::updateHotkey(const Shortcut& shortcut) {
    _shortcut = shortcut;
    return _manager.registerHotKey(
        shortcut, _lifetime.weakly([this] { onMain(_lifetime.weakly([this] { _onToggle(); })); }));
}

bool HotkeyCoordinator::isHotkey(const KeyEvent& event) const {
    const auto pressed = shortcutOf(event);
    return pressed && _manager.hasHotKey() && pressed->keyCode == _shortcut.keyCode &&
           modifierFlags(pressed->modifiers) == modifierFlags(_shortcut.modifiers);
}

}  // namespace vellumix
