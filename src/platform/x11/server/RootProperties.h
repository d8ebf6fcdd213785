#pragma once

#include <map>
#include <set>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The properties of the root window, by which a desktop tells of itself to all programs. Main thread.
class RootProperties {
public:
    explicit RootProperties(Connection& connection);
    RootProperties(const RootProperties&) = delete;
    RootProperties& operator=(const RootProperties&) = delete;

    /// Calls the observer when the property has changed, from the loop as soon as it has nothing else to do,
    /// 20 milliseconds later at the latest, and once for all changes until then: any program can change it
    /// without end, and only what it holds in the end matters.
    Observation observe(xcb_atom_t property, std::function<void()> observer);
    /// Tells at once of a change that has come from the server and is still to be told.
    void catchUp(xcb_atom_t property);

private:
    void changed(xcb_atom_t property);

    Connection& connection;
    std::map<xcb_atom_t, ObserverList<>> observers;
    std::set<xcb_atom_t> changed_;
    std::optional<Observation> events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
