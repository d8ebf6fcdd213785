#include "delivery/HotkeyCoordinator.h"

#include <utility>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

HotkeyCoordinator::HotkeyCoordinator(std::function<void()> onToggle) : onToggle(std::move(onToggle)) {}

bool HotkeyCoordinator::updateHotkey(const Shortcut& shortcut) {
    return manager.registerHotKey(
        shortcut, lifetime.weakly([this] { onMain(lifetime.weakly([this] { onToggle(); })); }));
}

void HotkeyCoordinator::updateCut(const Shortcut& shortcut, bool isEnabled) {
    if (cutInterceptor) {
        cutInterceptor->setShortcut(shortcut);
        if (!isEnabled) return cutInterceptor->stop();
    } else if (isEnabled) {
        cutInterceptor = std::make_unique<GlobalCutInterceptor>(shortcut);
    } else {
        return;
    }
    cutInterceptor->start();
}

}  // namespace vellumix
