#include "platform/linux/authentication/SessionWatch.h"

#include <gtest/gtest.h>

#include "linux/PrivateSession.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

constexpr auto sessionPath = "/org/freedesktop/login1/session/_37";
constexpr auto sessionInterface = "org.freedesktop.login1.Session";
constexpr auto managerPath = "/org/freedesktop/login1";
constexpr auto managerInterface = "org.freedesktop.login1.Manager";
constexpr auto objects = R"(<node>
<interface name='org.freedesktop.login1.Manager'><method name='GetSession'>
<arg type='s' direction='in'/><arg type='o' direction='out'/></method></interface>
<interface name='org.freedesktop.login1.Session'><property name='Id' type='s' access='read'/></interface>
</node>)";

/// The login manager and a screen saver, on a bus that is both the system's and the session's.
class SessionWatchTest : public testing::Test {
protected:
    SessionWatchTest()
        : systemBus("DBUS_SYSTEM_BUS_ADDRESS", sessionBusAddress().c_str()),
          bus(g_dbus_connection_new_for_address_sync(sessionBusAddress().c_str(), busConnectionFlags, nullptr,
                                                     nullptr, nullptr)),
          node(g_dbus_node_info_new_for_xml(objects, nullptr)) {
        static constexpr GDBusInterfaceVTable table{
            [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* arguments,
               GDBusMethodInvocation* invocation, gpointer) {
                const char* id = nullptr;
                g_variant_get(arguments, "(&s)", &id);
                EXPECT_STREQ(id, "7");
                g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", sessionPath));
            },
            [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GError**, gpointer) {
                return g_variant_new_string("7");
            },
            nullptr,
            {},
        };
        manager = glib::Registration(bus.get(), managerPath, node->interfaces[0], &table, nullptr);
        ownSession = glib::Registration(bus.get(), "/org/freedesktop/login1/session/auto",
                                        node->interfaces[1], &table, nullptr);
        for (const auto* name : {"org.freedesktop.login1", "org.gnome.ScreenSaver"}) {
            const glib::Variant owned(g_dbus_connection_call_sync(
                bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "RequestName", g_variant_new("(su)", name, doNotQueue), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
                nullptr, nullptr));
            EXPECT_TRUE(owned);
        }
    }

    void emit(const char* path, const char* interface, const char* member, GVariant* arguments) {
        g_dbus_connection_emit_signal(bus.get(), nullptr, path, interface, member, arguments, nullptr);
    }
    void change(const char* property, bool value) {
        GVariantBuilder changed;
        g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&changed, "{sv}", property, g_variant_new_boolean(value));
        emit(sessionPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
             g_variant_new("(sa{sv}@as)", sessionInterface, &changed, g_variant_new_strv(nullptr, 0)));
    }
    void saver(bool isOn) {
        emit("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged", g_variant_new("(b)", isOn));
    }
    bool runUntil(const std::function<bool()>& isDone) {
        bool isLate = false;
        const auto limit = loop.oneShotTimer(10, [&] { isLate = true; });
        const auto again = loop.repeatingTimer(0.01, [] {});
        loop.runUntil([&] { return isLate || isDone(); });
        return !isLate;
    }
    /// Whether the bus passes on such signals to anybody.
    bool isListenedTo(const std::string& member) {
        const auto rules = session.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                        "org.freedesktop.DBus.Debug.Stats", "GetAllMatchRules", nullptr);
        const glib::Text printed(rules ? g_variant_print(rules.get(), FALSE) : nullptr);
        return printed && std::string(printed.get()).find(member) != std::string::npos;
    }

    PrivateSession session;

private:
    ScopedVariable systemBus;

protected:
    GLibRunLoop loop;
    glib::Connection bus;
    int told = 0;

private:
    glib::NodeInfo node;
    glib::Registration manager;
    glib::Registration ownSession;
};

TEST_F(SessionWatchTest, EveryWayOutOfSightIsToldAndNoWayBack) {
    SessionWatch watch;
    const auto observation = watch.observe([this] { ++told; });
    for (const auto* member : {"org.gnome.ScreenSaver", "PrepareForSleep", "'Lock'", "PropertiesChanged"}) {
        ASSERT_TRUE(runUntil([&] { return isListenedTo(member); })) << member;
    }
    saver(false);
    saver(true);
    ASSERT_TRUE(runUntil([&] { return told == 1; }));

    change("Active", true);
    change("LockedHint", false);
    emit("/org/freedesktop/login1/session/_38", sessionInterface, "Lock", nullptr);
    emit(managerPath, managerInterface, "PrepareForSleep", g_variant_new("(b)", FALSE));
    emit(managerPath, managerInterface, "PrepareForSleep", g_variant_new("(s)", "no boolean"));
    emit(sessionPath, sessionInterface, "Lock", nullptr);
    change("LockedHint", true);
    change("Active", false);
    emit(managerPath, managerInterface, "PrepareForSleep", g_variant_new("(b)", TRUE));
    // All of them have come when the last has.
    runUntil([&] { return told >= 5; });
    EXPECT_EQ(told, 5);
}

}  // namespace
}  // namespace vellumix::linux_desktop
