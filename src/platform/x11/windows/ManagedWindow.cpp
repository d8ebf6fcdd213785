#include "platform/x11/windows/ManagedWindow.h"

#include <utility>

namespace vellumix::x11 {

namespace {

constexpr int deepestFrame = 8;

}  // namespace

void ManagedWindow::reparented() {
    auto* const xcb = connection.xcb();
    frame_ = window;
    for (int depth = 0; depth < deepestFrame; ++depth) {
        const auto tree = xcb::await<xcb_query_tree_reply>(xcb, xcb_query_tree(xcb, frame_));
        if (!tree || tree->parent == tree->root || tree->parent == XCB_WINDOW_NONE) return;
        frame_ = tree->parent;
    }
}

std::optional<Point> ManagedWindow::originOf(const xcb_configure_notify_event_t& event,
                                             bool isSynthetic) const {
    // Inside of a frame a real notice counts from that frame (ICCCM 2.0 section 4.1.5).
    if (isSynthetic || frame_ == window) return Point{double(event.x), double(event.y)};
    auto* const xcb = connection.xcb();
    const auto place = xcb::await<xcb_translate_coordinates_reply>(
        xcb, xcb_translate_coordinates(xcb, window, connection.root(), 0, 0));
    if (!place) return std::nullopt;
    return Point{double(place->dst_x), double(place->dst_y)};
}

void ManagedWindow::activateIfWanted() {
    if (!std::exchange(wantsActivation, false)) return;
    if (windowManager.isRunning()) {
        windowManager.activate(window, false);
    } else {
        xcb_set_input_focus(connection.xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    }
}

bool ManagedWindow::asksToClose(const xcb_client_message_event_t& message) const {
    const auto& atoms = connection.atoms();
    if (message.type != atoms.protocols || message.format != 32) return false;
    if (message.data.data32[0] == atoms.deleteWindow) return true;
    if (message.data.data32[0] != atoms.windowPing) return false;
    auto answer = message;
    answer.window = connection.root();
    xcb_send_event(connection.xcb(), 0, connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&answer));
    return false;
}

}  // namespace vellumix::x11
