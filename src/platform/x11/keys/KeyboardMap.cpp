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
    : connection(connection), context_(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    auto* const xcb = connection.xcb();
    if (!xkb_x11_setup_xkb_extension(xcb, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent,
                                     nullptr)) {
        Log("Keyboard").error("The X server has no XKB extension: keys can't be read");
        return;
    }
    device = xkb_x11_get_core_keyboard_device_id(xcb);
    constexpr std::uint32_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t everyPart = 0xFF;
    xcb_xkb_select_events(xcb, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, everyPart, everyPart, nullptr);
    // A key that is held then comes as presses alone, by which a repetition can be told.
    xcb_xkb_per_client_flags(xcb, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                             XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0);
    this->events = connection.observeExtensions([this](const auto& event) {
        if (xcb::typeOf(event) != firstEvent) return;
        // Every event of XKB has its kind in the place of the detail (XKB protocol, section 16).
        const auto kind = xcb::as<xcb_xkb_map_notify_event_t>(event).xkbType;
        if (kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY) changed();
    });
}

void KeyboardMap::changed() {
    isKeymapStale = true;
    modifiers_.reset();
    if (std::exchange(isNoticeDue, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isNoticeDue = false;
        observers.notify();
    }));
}

xkb::Keymap KeyboardMap::keymap() {
    if (device >= 0 && context_ && std::exchange(isKeymapStale, false)) {
        xkb::Keymap fresh(xkb_x11_keymap_new_from_device(context_.get(), connection.xcb(), device,
                                                         XKB_KEYMAP_COMPILE_NO_FLAGS));
        // Keys that mean what they meant are better than keys that mean nothing.
        if (fresh) keymap_ = std::move(fresh);
    }
    return xkb::Keymap(keymap_ ? xkb_keymap_ref(keymap_.get()) : nullptr);
}

const ModifierMap& KeyboardMap::modifiers() {
    if (!modifiers_) modifiers_.emplace(connection);
    return *modifiers_;
}

}  // namespace vellumix::x11
