#include "linux/FakeTray.h"

#include <gtest/gtest.h>

namespace vellumix::linux_desktop {

namespace {

constexpr auto watcherInterface = R"(<node><interface name='org.kde.StatusNotifierWatcher'>
<method name='RegisterStatusNotifierItem'><arg type='s' direction='in'/></method></interface></node>)";

}  // namespace

FakeTray::FakeTray(GLibRunLoop& loop)
    : loop(loop),
      connection(g_dbus_connection_new_for_address_sync(sessionBusAddress().c_str(), busConnectionFlags,
                                                        nullptr, nullptr, nullptr)) {
    static constexpr GDBusInterfaceVTable table{
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
           GDBusMethodInvocation* invocation, gpointer tray) {
            const char* name = nullptr;
            g_variant_get(arguments, "(&s)", &name);
            static_cast<FakeTray*>(tray)->registered.emplace_back(name);
            g_dbus_method_invocation_return_value(invocation, nullptr);
        },
        nullptr,
        nullptr,
        {},
    };
    const glib::NodeInfo node(g_dbus_node_info_new_for_xml(watcherInterface, nullptr));
    watcher = glib::Registration(this->connection.get(), "/StatusNotifierWatcher", node->interfaces[0],
                                 &table, this);
    const auto subscription = g_dbus_connection_signal_subscribe(
        this->connection.get(), nullptr, nullptr, nullptr, nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar* path, const gchar*, const gchar* member, GVariant*,
           gpointer tray) {
            static_cast<FakeTray*>(tray)->signals.push_back(std::string(path) + ' ' + member);
        },
        this, nullptr);
    signals_ = Observation([connection = this->connection.get(), subscription] {
        g_dbus_connection_signal_unsubscribe(connection, subscription);
    });
    const glib::Variant owned(g_dbus_connection_call_sync(
        this->connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", "org.kde.StatusNotifierWatcher", 4), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    EXPECT_TRUE(owned);
}

bool FakeTray::until(const std::function<bool()>& condition) {
    bool isLate = false;
    const auto deadline = loop.oneShotTimer(10, [&] { isLate = true; });
    loop.runUntil([&] { return isLate || condition(); });
    return !isLate;
}

glib::Variant FakeTray::call(const char* path, const char* interface, const char* method,
                             GVariant* arguments) {
    const auto operation = Operation::begin([&](auto... rest) {
        g_dbus_connection_call(connection.get(), registered.back().c_str(), path, interface, method,
                               arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, rest...);
    });
    if (!until([&] { return operation->isDone(); })) return nullptr;
    return glib::Variant(g_dbus_connection_call_finish(connection.get(), operation->result(), nullptr));
}

glib::Variant FakeTray::menuCall(const char* method, GVariant* arguments) {
    const auto path = property("Menu");
    if (!path) return nullptr;
    return call(g_variant_get_string(path.get(), nullptr), "com.canonical.dbusmenu", method, arguments);
}

glib::Variant FakeTray::property(const char* name) {
    const auto reply = call("/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                            g_variant_new("(ss)", "org.kde.StatusNotifierItem", name));
    if (!reply) return nullptr;
    GVariant* value = nullptr;
    g_variant_get(reply.get(), "(v)", &value);
    return glib::Variant(value);
}

}  // namespace vellumix::linux_desktop
