#pragma once

#include <string>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// Which program offers one of the desktop's services: the owner of the selection that stands for the
/// service, which holds no content (ICCCM 2.0 section 2.8). The first answer is there at once, for which the
/// constructor waits for the server; later ones are read from the loop.
class ServiceSelection {
public:
    ServiceSelection(Connection& connection, const std::string& name);
    ServiceSelection(const ServiceSelection&) = delete;
    ServiceSelection& operator=(const ServiceSelection&) = delete;

    /// None where the service doesn't run.
    xcb_window_t owner() const { return owner_; }
    /// Several changes in a row are told as one.
    Observation observe(std::function<void()> observer) { return observers.add(std::move(observer)); }

private:
    void readLater();
    void read();

    Connection& connection;
    xcb_atom_t selection;
    xcb_window_t owner_ = XCB_WINDOW_NONE;
    bool isReading = false;
    ObserverList<> observers;
    Observation changes;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
