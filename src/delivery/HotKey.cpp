#include "delivery/HotKey.h"

#include <utility>

#include "platform/desktop/Platform.h"

namespace vellumix {

HotKey::HotKey(std::function<void()> handler) : handler(std::move(handler)) {
    eventHandlerRef = Hotkeys::InstallEventHandler([this] {
        if (this->handler) this->handler();
    });
}

HotKey::~HotKey() {
    hotKeyRef.reset();
    eventHandlerRef.reset();
}

std::unique_ptr<HotKey> HotKey::make(std::uint32_t keyCode, std::uint32_t modifiers,
                                     std::function<void()> handler) {
    std::unique_ptr<HotKey> hotKey(new HotKey(std::move(handler)));
    hotKey->hotKeyRef =
        platform::current().hotkeys->RegisterEventHotKey(keyCode, modifiers, hotKey->eventHandlerRef);
    return hotKey->hotKeyRef ? std::move(hotKey) : nullptr;
}

bool GlobalHotkeyManager::registerHotKey(const Shortcut& shortcut, std::function<void()> handler) {
    hotKey.reset();
    hotKey = HotKey::make(shortcut.keyCode, shortcut.modifiers, std::move(handler));
    return hotKey != nullptr;
}

bool GlobalHotkeyManager::hasHotKey() const { return hotKey && platform::current().hotkeys->hasAllHotKeys(); }

}  // namespace vellumix
