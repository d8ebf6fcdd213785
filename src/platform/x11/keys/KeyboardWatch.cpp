#include "platform/x11/keys/KeyboardWatch.h"

#include <xkbcommon/xkbcommon-x11.h>

// The header of libxcb names a field "explicit".
#define explicit isExplicit
#include <xcb/xkb.h>
#undef explicit

namespace vellumix::x11 {

KeyboardWatch::KeyboardWatch(Connection& connection) : _connection(connection) {
    auto* const xcb = connection.xcb();
    if (!xkb_x11_setup_xkb_extension(xcb, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                     XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &_firstEvent,
                                     nullptr)) {
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
        if (kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY) _observers.notify();
    });
}

xkb::Keymap KeyboardWatch::readKeymap(xkb_context* context) const {
    if (!isAvailable() || !context) return nullptr;
    return xkb::Keymap(
        xkb_x11_keymap_new_from_device(context, _connection.xcb(), _device, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

}  // namespace vellumix::x11
