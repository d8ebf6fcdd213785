#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "linux/PrivateSession.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {

/// A panel on the private bus, on a connection of its own: the watcher of status notifier items and the host
/// that shows them. Served by the main loop.
class FakeTray {
public:
    explicit FakeTray(GLibRunLoop& loop);
    FakeTray(const FakeTray&) = delete;
    FakeTray& operator=(const FakeTray&) = delete;

    /// The names under which items have registered, in order.
    std::vector<std::string> registered;
    /// The signals that items have sent, as "path member".
    std::vector<std::string> signals;

    /// Serves the main loop until the condition holds, or false after 10 seconds.
    bool until(const std::function<bool()>& condition);
    bool untilRegistered() {
        return until([this] { return !registered.empty(); });
    }
    bool hasLostTheBus() const { return g_dbus_connection_is_closed(connection.get()); }
    /// Calls the item that registered last; nothing when it refuses.
    glib::Variant call(const char* path, const char* interface, const char* method, GVariant* arguments);
    glib::Variant menuCall(const char* method, GVariant* arguments);
    /// A property of the item, without its variant; nothing when it has none of that name.
    glib::Variant property(const char* name);

private:
    GLibRunLoop& loop;
    glib::Connection connection;
    glib::Registration watcher;
    Observation signals_;
};

}  // namespace vellumix::linux_desktop
