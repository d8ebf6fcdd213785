#include "platform/x11/windows/ManagedWindow.h"

#include <utility>

namespace vellumix::x11 {

namespace {

constexpr int deepestFrame = 8;

}  // namespace

void ManagedWindow::reparented() {
    auto* const xcb = _connection.xcb();
    _frame = _window;
    for (int depth = 0; depth < deepestFrame; ++depth) {
        const auto tree = xcb::await<xcb_query_tree_reply>(xcb, xcb_query_tree(xcb, _frame));
        if (!tree || tree->parent == tree->root || tree->parent == XCB_WINDOW_NONE) return;
        _frame = tree->parent;
    }
}

std::optional<Point> ManagedWindow::originOf(const xcb_configure_notify_event_t& event,
                                             bool isSynthetic) const {
    // Inside of a frame a real notice counts from that frame (ICCCM 2.0 section 4.1.5).
    if (isSynthetic || _frame == _window) return Point{double(event.x), double(event.y)};
    auto* const xcb = _connection.xcb();
    const auto place = xcb::await<xcb_translate_coordinates_reply>(
        xcb, xcb_translate_coordinates(xcb, _window, _connection.root(), 0, 0));
    if (!place) return std::nullopt;
    return Point{double(place->dst_x), double(place->dst_y)};
}

void ManagedWindow::activateIfWanted() {
    if (!std::exchange(_wantsActivation, false)) return;
    if (_windowManager.isRunning()) {
        _windowManager.activate(_window, false);
    } else {
        xcb_set_input_focus(_connection.xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, _window, XCB_CURRENT_TIME);
    }
}

bool ManagedWindow::asksToClose(const xcb_client_message_event_t& message) const {
    const auto& atoms = _connection.atoms();
    if (message.type != atoms.protocols || message.format != 32) return false;
    if (message.data.data32[0] == atoms.deleteWindow) return true;
    if (message.data.data32[0] != atoms.windowPing) return false;
    auto answer = message;
    answer.window = _connection.root();
    xcb_send_event(_connection.xcb(), 0, _connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&answer));
    return false;
}

}  // namespace vellumix::x11
