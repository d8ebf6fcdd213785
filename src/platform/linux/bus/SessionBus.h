#pragma once

#include <string>

#include "platform/linux/loop/GLibHandles.h"
#include "platform/linux/loop/PrivateContext.h"

namespace vellumix::linux_desktop {

// The session bus is the one that the environment names (D-Bus Specification 0.41, "Well-known Message Bus
// Instances"), or the socket "bus" in the runtime folder. None is ever started: services on it would belong
// to no session. Losing a connection doesn't end the process.

/// Empty when there is no bus.
std::string sessionBusAddress();

/// For a connection of the caller's own to a message bus.
inline constexpr auto busConnectionFlags = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

/// Connects on a connection of the caller's own. Nothing when there is no bus, or none that answers in time.
glib::Connection connectToSessionBus(PrivateContext& context, Deadline deadline);

/// The process's shared connection, for libraries that know no other; `error` says why there is none.
glib::Object<GDBusConnection> sharedSessionBus(PrivateContext& context, Deadline deadline,
                                               glib::Error& error);

/// Of the bus's own method "RequestName" (D-Bus Specification 0.41): a flag of the question, and the answer
/// that the name is ours.
inline constexpr guint32 doNotQueue = 4;
inline constexpr guint32 isPrimaryOwner = 1;

/// Closes a connection when the last replies have left it; a slow bus has a second for that.
void closeAfterFlush(PrivateContext& context, GDBusConnection* connection);

}  // namespace vellumix::linux_desktop
