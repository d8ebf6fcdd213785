#include "platform/x11/server/ServiceSelection.h"

#include <utility>

namespace vellumix::x11 {

ServiceSelection::ServiceSelection(Connection& connection, const std::string& name) : connection(connection) {
    auto* const xcb = connection.xcb();
    const auto atom = xcb::await<xcb_intern_atom_reply>(
        xcb, xcb_intern_atom(xcb, 0, static_cast<std::uint16_t>(name.size()), name.data()));
    selection = atom ? atom->atom : xcb_atom_t{XCB_ATOM_NONE};
    changes = connection.observeSelection(selection, [this](const auto&) { readLater(); });
    read();
}

void ServiceSelection::readLater() {
    if (std::exchange(isReading, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isReading = false;
        read();
        observers.notify();
    }));
}

void ServiceSelection::read() {
    const auto owner = xcb::await<xcb_get_selection_owner_reply>(
        connection.xcb(), xcb_get_selection_owner(connection.xcb(), selection));
    owner_ = owner ? owner->owner : xcb_window_t{XCB_WINDOW_NONE};
}

}  // namespace vellumix::x11
