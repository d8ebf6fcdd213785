#include "platform/x11/server/WindowManager.h"

#include "platform/x11/server/RootProperties.h"

namespace vellumix::x11 {

WindowManager::WindowManager(Connection& connection) : connection(connection) {
    auto& properties = connection.rootProperties();
    checkChanges = properties.observe(connection.atoms().windowManagerCheck, [this] { read(); });
    activeChanges = properties.observe(connection.atoms().activeWindow, [this] { readActiveWindow(); });
    read();
}

xcb_window_t WindowManager::windowNamedBy(xcb_window_t window, xcb_atom_t property) const {
    const auto named = connection.numbers(window, property, 1);
    return named.empty() ? xcb_window_t{XCB_WINDOW_NONE} : named.front();
}

void WindowManager::read() {
    const auto check = connection.atoms().windowManagerCheck;
    const auto window = windowNamedBy(connection.root(), check);
    end = window == XCB_WINDOW_NONE ? std::nullopt
                                    : connection.observeForeign(window, [this](const auto& event) {
                                          if (xcb::typeOf(event) == XCB_DESTROY_NOTIFY) read();
                                      });
    // One that has gone may have left the root's property behind, but not the window's own.
    const bool isThere = window != XCB_WINDOW_NONE && windowNamedBy(window, check) == window;
    this->window = isThere ? window : xcb_window_t{XCB_WINDOW_NONE};
    readActiveWindow();
}

void WindowManager::readActiveWindow() {
    activeWindow_ = isRunning() ? windowNamedBy(connection.root(), connection.atoms().activeWindow)
                                : xcb_window_t{XCB_WINDOW_NONE};
    observers.notify();
}

void WindowManager::catchUp() {
    auto& properties = connection.rootProperties();
    properties.catchUp(connection.atoms().windowManagerCheck);
    properties.catchUp(connection.atoms().activeWindow);
}

void WindowManager::activate(xcb_window_t window, bool isByUser) {
    enum Source : std::uint32_t { application = 1, pager = 2 };
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection.atoms().activeWindow;
    message.data.data32[0] = isByUser ? pager : application;
    message.data.data32[1] = connection.userTime();
    // A pager has no active window of its own.
    message.data.data32[2] = isByUser ? xcb_window_t{XCB_WINDOW_NONE} : activeWindow_;
    xcb_send_event(connection.xcb(), 0, connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
}

}  // namespace vellumix::x11
