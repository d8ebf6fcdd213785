#include "platform/linux/bus/SessionBus.h"

#include <cstdlib>
#include <string>

namespace vellumix::linux_desktop {

namespace {
constexpr double farewellSeconds = 1;
}  // namespace

std::string sessionBusAddress() {
    const char* named = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (named && *named) return g_str_has_prefix(named, "autolaunch:") ? "" : named;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (!runtime || *runtime != '/') return {};
    const auto socket = std::string(runtime) + "/bus";
    if (!g_file_test(socket.c_str(), G_FILE_TEST_EXISTS)) return {};
    const glib::Text escaped(g_dbus_address_escape_value(socket.c_str()));
    return std::string("unix:path=") + escaped.get();
}

glib::Connection connectToSessionBus(PrivateContext& context, Deadline deadline) {
    const auto address = sessionBusAddress();
    if (address.empty()) return nullptr;
    const auto operation = context.perform(
        [&](auto... rest) {
            g_dbus_connection_new_for_address(address.c_str(), busConnectionFlags, nullptr, rest...);
        },
        deadline);
    if (!operation) return nullptr;
    return glib::Connection(g_dbus_connection_new_for_address_finish(operation->result(), nullptr));
}

glib::Object<GDBusConnection> sharedSessionBus(PrivateContext& context, Deadline deadline,
                                               glib::Error& error) {
    if (sessionBusAddress().empty()) {
        error.reset(g_error_new_literal(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "there is no session bus"));
        return nullptr;
    }
    const auto operation =
        context.perform([&](auto... rest) { g_bus_get(G_BUS_TYPE_SESSION, rest...); }, deadline);
    if (!operation) {
        error.reset(g_error_new_literal(G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "the session bus doesn't answer"));
        return nullptr;
    }
    glib::Object<GDBusConnection> connection(g_bus_get_finish(operation->result(), glib::Out(error)));
    if (connection) g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    return connection;
}

void closeAfterFlush(PrivateContext& context, GDBusConnection* connection) {
    context.perform([&](auto... rest) { g_dbus_connection_flush(connection, rest...); },
                    Deadline::in(farewellSeconds));
    context.perform([&](auto... rest) { g_dbus_connection_close(connection, rest...); },
                    Deadline::in(farewellSeconds));
}

}  // namespace vellumix::linux_desktop
