#include "platform/x11/keys/LockerWatch.h"

#include <xcb/screensaver.h>

#include <utility>

namespace vellumix::x11 {

namespace {

/// Of one client, with all else that it waits for.
constexpr std::size_t windowsWaiting = 64;

}  // namespace

LockerWatch::LockerWatch(Connection& connection, std::function<void()> onLocker)
    : connection(connection), onLocker(std::move(onLocker)) {
    auto* const xcb = connection.xcb();
    children = connection.observeChildrenOfRoot([this](const auto& event) { handle(event); });
    const auto* saver = xcb_get_extension_data(xcb, &xcb_screensaver_id);
    if (!saver || !saver->present) return;
    saverEvent = static_cast<std::uint8_t>(saver->first_event + XCB_SCREENSAVER_NOTIFY);
    xcb_screensaver_select_input(xcb, connection.root(), XCB_SCREENSAVER_EVENT_NOTIFY_MASK);
    extensions = connection.observeExtensions([this](const auto& event) {
        if (xcb::typeOf(event) == saverEvent &&
            xcb::as<xcb_screensaver_notify_event_t>(event).state == XCB_SCREENSAVER_STATE_ON) {
            this->onLocker();
        }
    });
}

LockerWatch::~LockerWatch() {
    if (saverEvent) xcb_screensaver_select_input(connection.xcb(), connection.root(), 0);
}

bool LockerWatch::takesOver(xcb_window_t window) const {
    auto* const xcb = connection.xcb();
    const auto attributes = xcb_get_window_attributes(xcb, window);
    const auto geometry = xcb_get_geometry(xcb, window);
    const auto rootGeometry = xcb_get_geometry(xcb, connection.root());
    const auto kind = xcb::await<xcb_get_window_attributes_reply>(xcb, attributes);
    const auto area = xcb::await<xcb_get_geometry_reply>(xcb, geometry);
    const auto screen = xcb::await<xcb_get_geometry_reply>(xcb, rootGeometry);
    if (!kind || !area || !screen) return false;
    const int right = area->x + area->width;
    const int bottom = area->y + area->height;
    if (area->x <= 0 && area->y <= 0 && right >= screen->width && bottom >= screen->height) return true;
    // Out of sight they are for a program's own affairs, such as a selection.
    const bool isInSight = right > 0 && bottom > 0 && area->x < screen->width && area->y < screen->height;
    return isInSight && kind->map_state != XCB_MAP_STATE_UNMAPPED &&
           kind->_class == XCB_WINDOW_CLASS_INPUT_ONLY;
}

void LockerWatch::considerLater(xcb_window_t window) {
    auto& work = connection.clientWork();
    const auto client = connection.clientOf(window);
    if (work.countOf(client) >= windowsWaiting || !windows.insert(window).second) return;
    auto step = lifetime.weakly([this, window] {
        windows.erase(window);
        if (takesOver(window)) onLocker();
    });
    work.add(client, [step = std::move(step)]() mutable -> std::size_t {
        step();
        return 0;
    });
}

void LockerWatch::handle(const xcb_generic_event_t& event) {
    const auto consider = [&](xcb_window_t window, bool isPastWindowManager) {
        if (isPastWindowManager && !connection.isOurs(window)) considerLater(window);
    };
    if (xcb::typeOf(event) == XCB_CREATE_NOTIFY) {
        const auto& made = xcb::as<xcb_create_notify_event_t>(event);
        consider(made.window, made.override_redirect != 0);
    } else if (xcb::typeOf(event) == XCB_MAP_NOTIFY) {
        const auto& mapped = xcb::as<xcb_map_notify_event_t>(event);
        consider(mapped.window, mapped.override_redirect != 0);
    }
}

}  // namespace vellumix::x11
