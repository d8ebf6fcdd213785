#include "platform/x11/applications/FocusedWindow.h"

namespace vellumix::x11 {

namespace {

/// Deeper than toolkits nest their windows.
constexpr int mostLevels = 64;

/// The innermost window under the pointer; none over the bare root.
xcb_window_t windowUnderPointer(Connection& connection) {
    auto* const xcb = connection.xcb();
    xcb_window_t found = XCB_WINDOW_NONE;
    auto window = connection.root();
    for (int level = 0; level < mostLevels && window != XCB_WINDOW_NONE; ++level) {
        const auto reply = xcb::await<xcb_query_pointer_reply>(xcb, xcb_query_pointer(xcb, window));
        window = reply ? reply->child : xcb_window_t{XCB_WINDOW_NONE};
        if (window != XCB_WINDOW_NONE) found = window;
    }
    return found;
}

/// The window of the application that the given one is a part of.
xcb_window_t applicationWindow(Connection& connection, xcb_window_t window) {
    auto* const xcb = connection.xcb();
    xcb_window_t withClass = XCB_WINDOW_NONE;
    for (int level = 0; level < mostLevels; ++level) {
        const auto ask = [&](xcb_atom_t property) {
            return xcb_get_property(xcb, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0);
        };
        const auto treeAsked = xcb_query_tree(xcb, window);
        const auto stateAsked = ask(connection.atoms().managedState);
        const auto classAsked = ask(XCB_ATOM_WM_CLASS);
        const auto tree = xcb::await<xcb_query_tree_reply>(xcb, treeAsked);
        const auto state = xcb::await<xcb_get_property_reply>(xcb, stateAsked);
        const auto name = xcb::await<xcb_get_property_reply>(xcb, classAsked);
        if (!tree || !state || !name) return XCB_WINDOW_NONE;
        if (state->type != XCB_ATOM_NONE) return window;
        if (name->type != XCB_ATOM_NONE) withClass = window;
        if (tree->parent == XCB_WINDOW_NONE) return XCB_WINDOW_NONE;
        if (tree->parent == tree->root) return withClass != XCB_WINDOW_NONE ? withClass : window;
        window = tree->parent;
    }
    return withClass;
}

}  // namespace

FocusedWindow FocusedWindow::read(Connection& connection) {
    auto* const xcb = connection.xcb();
    const auto reply = xcb::await<xcb_get_input_focus_reply>(xcb, xcb_get_input_focus(xcb));
    if (!reply || reply->focus == XCB_INPUT_FOCUS_NONE) return {};
    // A focus on the root means the same as none in particular: every window under the pointer is inside it.
    const bool followsPointer =
        reply->focus == XCB_INPUT_FOCUS_POINTER_ROOT || reply->focus == connection.root();
    const auto innermost = followsPointer ? windowUnderPointer(connection) : reply->focus;
    if (innermost == XCB_WINDOW_NONE) return {.followsPointer = followsPointer};
    return {applicationWindow(connection, innermost), followsPointer};
}

}  // namespace vellumix::x11
