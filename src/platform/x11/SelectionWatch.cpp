#include "platform/x11/SelectionWatch.h"

#include <xcb/xfixes.h>

namespace vellumix::x11 {

SelectionWatch::SelectionWatch(Connection& connection, const std::string& name)
    : _connection(connection), _window(connection) {
    auto* const xcb = connection.xcb();
    const auto atom = xcb::await<xcb_intern_atom_reply>(
        xcb, xcb_intern_atom(xcb, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    _selection = atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
    xcb_xfixes_select_selection_input(xcb, _window.id(), _selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    _events = connection.observe(_window.id(), [this](const auto& event) {
        if (!_connection.isSelectionChange(event)) return;
        read();
        _observers.notify();
    });
    read();
}

void SelectionWatch::read() {
    const auto owner = xcb::await<xcb_get_selection_owner_reply>(
        _connection.xcb(), xcb_get_selection_owner(_connection.xcb(), _selection));
    _owner = owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
}

}  // namespace vellumix::x11
