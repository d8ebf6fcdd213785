#include "platform/x11/server/RootProperties.h"

#include <utility>

namespace vellumix::x11 {

RootProperties::RootProperties(Connection& connection) : connection(connection) {
    events = connection.observeForeign(connection.root(), [this](const auto& event) {
        if (xcb::typeOf(event) == XCB_PROPERTY_NOTIFY) {
            changed(xcb::as<xcb_property_notify_event_t>(event).atom);
        }
    });
}

Observation RootProperties::observe(xcb_atom_t property, std::function<void()> observer) {
    return observers[property].add(std::move(observer));
}

void RootProperties::changed(xcb_atom_t property) {
    if (!observers.contains(property) || !changed_.insert(property).second) return;
    // Behind the person's own affairs: whoever must know before then catches up.
    connection.runLoop().postBehind(lifetime.weakly([this, property] { catchUp(property); }));
}

void RootProperties::catchUp(xcb_atom_t property) {
    if (changed_.erase(property) > 0) observers[property].notify();
}

}  // namespace vellumix::x11
