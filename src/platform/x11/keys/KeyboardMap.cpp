#include "platform/x11/keys/KeyboardMap.h"

#include <xkbcommon/xkbcommon-x11.h>

#include <utility>

#include "platform/foundation/loop/Log.h"

// The header of libxcb names a field "explicit".
#define explicit isExplicit
#include <xcb/xkb.h>
#undef explicit

namespace vellumix::x11 {

KeyboardMap::KeyboardMap(Connection& connection)
    : _connection(connection), _context(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    auto* const xcb = connection.xcb();
    if (!xkb_x11_setup_xkb_extension(xcb, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &_firstEvent,
                                     nullptr)) {
        Log("Keyboard").error("The X server has no XKB extension: keys can't be read");
        return;
    }
    _device = xkb_x11_get_core_keyboard_device_id(xcb);
    constexpr std::uint32_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t everyPart = 0xFF;
    xcb_xkb_select_events(xcb, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, everyPart, everyPart, nullptr);
    // A key that is held then comes as presses alone, by which a repetition can be told.
    xcb_xkb_per_client_flags(xcb, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0);
    _events = connection.observeExtensions([this](const auto& event) {
        if (xcb::typeOf(event) != _firstEvent) return;
        // Every event of XKB has its kind in the place of the detail (XKB protocol, section 16).
        const auto kind = xcb::as<xcb_xkb_map_notify_event_t>(event).xkbType;
        if (kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY) changed();
    });
}

void KeyboardMap::changed() {
    _isKeymapStale = true;
    _modifiers.reset();
    if (std::exchange(_isNoticeDue, true)) return;
    _connection.runLoop().post(_lifetime.weakly([this] {
        _isNoticeDue = false;
        _observers.notify();
    }));
}

xkb::Keymap KeyboardMap::keymap() {
    if (_device >= 0 && _context && std::exchange(_isKeymapStale, false)) {
        xkb::Keymap fresh(xkb_x11_keymap_new_from_device(_context.get(), _connection.xcb(), _device,
                                                         XKB_KEYMAP_COMPILE_NO_FLAGS));
        // Keys that mean what they meant are better than keys that mean nothing.
        if (fresh) _keymap = std::move(fresh);
    }
    return xkb::Keymap(_keymap ? xkb_keymap_ref(_keymap.get()) : nullptr);
}

const ModifierMap& KeyboardMap::modifiers() {
    if (!_modifiers) _modifiers.emplace(_connection);
    return *_modifiers;
}

}  // namespace vellumix::x11
