#include "platform/x11/windows/WindowServer.h"

#include <xcb/xcb_cursor.h>

#include "platform/x11/server/RootProperties.h"
#include "platform/x11/windows/ScreenWindow.h"

namespace vellumix::x11 {

namespace {

int numberOfScreen(Connection& connection) {
    int number = 0;
    auto at = xcb_setup_roots_iterator(xcb_get_setup(connection.xcb()));
    for (; at.rem > 1 && at.data->root != connection.root(); xcb_screen_next(&at)) ++number;
    return number;
}

const xcb_screen_t& screenOf(Connection& connection) {
    auto at = xcb_setup_roots_iterator(xcb_get_setup(connection.xcb()));
    while (at.rem > 1 && at.data->root != connection.root()) xcb_screen_next(&at);
    return *at.data;
}

const char* nameOf(Cursor cursor) {
    switch (cursor) {
        case Cursor::arrow:
            return "default";
        case Cursor::pointingHand:
            return "pointer";
        case Cursor::text:
            return "text";
        case Cursor::resizeHorizontal:
            return "ew-resize";
        case Cursor::resizeVertical:
            return "ns-resize";
        case Cursor::resizeDiagonalDown:
            return "nwse-resize";
        case Cursor::resizeDiagonalUp:
            return "nesw-resize";
    }
    return "default";
}

}  // namespace

WindowServer::WindowServer(Connection& connection, WindowManager& windowManager, KeyboardMap& keyboard)
    : connection(connection),
      windowManager(windowManager),
      screen_(screenOf(connection)),
      screenNumber_(numberOfScreen(connection)),
      plain{screen_.root_depth, screen_.root_visual, XCB_NONE},
      alpha(formatWithAlpha()),
      settings_(connection, screenNumber_),
      screens_(connection, screen_, settings_),
      compositor(connection, "_NET_WM_CM_S" + std::to_string(screenNumber_)),
      keys(connection, keyboard, screenNumber_),
      pointer(connection, {.delegateOf = [this](xcb_window_t id) -> NSWindowDelegate* {
                               const auto found = windows.find(id);
                               return found == windows.end() ? nullptr : found->second->delegate();
                           },
                           .isOurs =
                               [this](xcb_window_t id) {
                                   for (const auto& [own, window] : windows) {
                                       if (own == id || window->frameWindow() == id) return true;
                                   }
                                   return false;
                               },
                           .scale = [this] { return screens_.scale(); }}) {
    compositorEvents = compositor.observe([this] { redrawAll(); });
    screenEvents = screens_.observe([this] { redrawAll(); });
    spaceEvents = connection.rootProperties().observe(connection.atoms().currentDesktop,
                                                      [this] { spaceObservers.notify(); });
}

WindowServer::~WindowServer() {
    for (const auto& [name, cursor] : cursors) xcb_free_cursor(connection.xcb(), cursor);
    if (cursorContext) xcb_cursor_context_free(cursorContext);
    if (alpha.colormap) xcb_free_colormap(connection.xcb(), alpha.colormap);
}

WindowServer::Format WindowServer::formatWithAlpha() const {
    constexpr std::uint8_t depthWithAlpha = 32;
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen_); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth != depthWithAlpha) continue;
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            const auto& one = *visual.data;
            if (one._class != XCB_VISUAL_CLASS_TRUE_COLOR || one.red_mask != 0xFF0000) continue;
            const auto colormap = xcb_generate_id(connection.xcb());
            xcb_create_colormap(connection.xcb(), XCB_COLORMAP_ALLOC_NONE, colormap, screen_.root,
                                one.visual_id);
            return {depthWithAlpha, one.visual_id, colormap};
        }
    }
    return plain;
}

std::unique_ptr<NSWindow> WindowServer::makeWindow(const NSWindow::Options& options) {
    return std::make_unique<ScreenWindow>(*this, options);
}

std::optional<NSScreen> WindowServer::mainScreen() const {
    auto* const xcb = connection.xcb();
    windowManager.catchUp();
    const auto window = windowManager.activeWindow();
    // All is asked for before the first answer is awaited, for one trip to the server.
    const auto pointerAsked = xcb_query_pointer(xcb, screen_.root);
    const auto sizeAsked = xcb_get_geometry(xcb, window);
    const auto placeAsked = xcb_translate_coordinates(xcb, window, screen_.root, 0, 0);
    const auto pointer = xcb::await<xcb_query_pointer_reply>(xcb, pointerAsked);
    const auto size = xcb::await<xcb_get_geometry_reply>(xcb, sizeAsked);
    const auto origin = xcb::await<xcb_translate_coordinates_reply>(xcb, placeAsked);
    const double scale = screens_.scale();
    if (size && origin) {
        const auto screen = screens_.at(
            {(origin->dst_x + size->width / 2.0) / scale, (origin->dst_y + size->height / 2.0) / scale});
        if (screen) return screen;
    }
    if (pointer) {
        if (const auto screen = screens_.at({pointer->root_x / scale, pointer->root_y / scale}))
            return screen;
    }
    const auto& all = screens_.all();
    return all.empty() ? std::nullopt : std::optional(all.front());
}

Point WindowServer::mouseLocation() const {
    const auto at = pointer.location();
    return {at.x / screens_.scale(), at.y / screens_.scale()};
}

Observation WindowServer::observeSessionResign(std::function<void()> observer) {
    auto bySession = std::make_shared<Observation>(session.observe(observer));
    auto byLocker = std::make_shared<Observation>(keys.observeLockers(std::move(observer)));
    return Observation([bySession, byLocker] {
        bySession->cancel();
        byLocker->cancel();
    });
}

xcb_cursor_t WindowServer::cursor(Cursor cursor) {
    if (!cursorContext &&
        xcb_cursor_context_new(connection.xcb(), const_cast<xcb_screen_t*>(&screen_), &cursorContext) < 0) {
        return XCB_NONE;
    }
    const auto known = cursors.find(cursor);
    if (known != cursors.end()) return known->second;
    return cursors[cursor] = xcb_cursor_load_cursor(cursorContext, nameOf(cursor));
}

void WindowServer::stackFloating(xcb_window_t below) {
    for (const auto& [id, window] : windows) {
        if (!window->isFloating() || !window->isVisible()) continue;
        if (below == XCB_WINDOW_NONE) {
            const std::uint32_t onTop = XCB_STACK_MODE_ABOVE;
            xcb_configure_window(connection.xcb(), id, XCB_CONFIG_WINDOW_STACK_MODE, &onTop);
        } else {
            const std::uint32_t values[] = {below, XCB_STACK_MODE_BELOW};
            xcb_configure_window(connection.xcb(), id,
                                 XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, values);
        }
    }
}

void WindowServer::redrawAll() {
    for (const auto& [id, window] : windows) window->surroundingsChanged();
}

}  // namespace vellumix::x11
