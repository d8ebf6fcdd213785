#include "delivery/HotKey.h"

#include <utility>

#include "platform/desktop/Platform.h"

namespace vellumix {

HotKey::HotKey(std::function<void()> handler) : _handler(std::move(handler)) {
    _eventHandlerRef = Hotkeys::InstallEventHandler([this] {
        if (_handler) _handler();
    });
}

HotKey::~HotKey() {
    _hotKeyRef.reset();
    _eventHandlerRef.reset();
}

std::unique_ptr<HotKey> HotKey::make(std::uint32_t keyCode, std::uint32_t modifiers,
                                     std::function<void()> handler) {
    std::unique_ptr<HotKey> hotKey(new HotKey(std::move(handler)));
    hotKey->_hotKeyRef =
        platform::current().hotkeys->RegisterEventHotKey(keyCode, modifiers, hotKey->_eventHandlerRef);
    return hotKey->_hotKeyRef ? std::move(hotKey) : nullptr;
}

bool GlobalHotkeyManager::registerHotKey(const Shortcut& shortcut, std::function<void()> handler) {
    _hotKey.reset();
    _hotKey = HotKey::make(shortcut.keyCode, shortcut.modifiers, std::move(handler));
    return _hotKey != nullptr;
}

bool GlobalHotkeyManager::hasHotKey() const {
    return _hotKey && platform::current().hotkeys->hasAllHotKeys();
}

}  // namespace vellumix
