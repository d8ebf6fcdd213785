#include "delivery/HotkeyCoordinator.h"

#include <utility>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

HotkeyCoordinator::HotkeyCoordinator(std::function<void()> onToggle) : _onToggle(std::move(onToggle)) {}

bool HotkeyCoordinator::updateHotkey(const Shortcut& shortcut) {
    return _manager.registerHotKey(
        shortcut, _lifetime.weakly([this] { onMain(_lifetime.weakly([this] { _onToggle(); })); }));
}

}  // namespace vellumix
