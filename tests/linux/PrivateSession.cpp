#include "linux/PrivateSession.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {

namespace {

constexpr double patience = 10;
constexpr auto secretsName = "org.freedesktop.secrets";
constexpr auto secretsPath = "/org/freedesktop/secrets";
constexpr auto serviceInterface = "org.freedesktop.Secret.Service";
constexpr auto loginPath = "/org/freedesktop/secrets/collection/login";

constexpr auto busConfiguration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>)";

}  // namespace

PrivateSession::PrivateSession(Bus bus)
    : home_("HOME", home().c_str()),
      data("XDG_DATA_HOME", (home() + "/data").c_str()),
      config("XDG_CONFIG_HOME", (home() + "/config").c_str()),
      runtime("XDG_RUNTIME_DIR", (home() + "/runtime").c_str()),
      address("DBUS_SESSION_BUS_ADDRESS", nullptr),
      display("DISPLAY", nullptr) {
    for (const auto* folder : {"/data", "/config", "/runtime"}) ::mkdir((home() + folder).c_str(), 0700);
    if (bus == Bus::absent) return;
    const auto configuration = home() + "/bus.conf";
    std::ofstream(configuration) << busConfiguration;
    this->bus = std::make_unique<TestProcess>(std::vector<std::string>{
        "dbus-daemon", "--nofork", "--print-address", "--config-file=" + configuration});
    privateAddress =
        std::make_unique<ScopedVariable>("DBUS_SESSION_BUS_ADDRESS", this->bus->readLine().c_str());
    connection = connectToSessionBus(context, Deadline::in(patience));
    EXPECT_TRUE(connection);
}

PrivateSession::~PrivateSession() {
    if (!bus) return;
    gpointer shared = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!shared) return;
    {
        const glib::Object<GObject> held(G_OBJECT(shared));
        g_dbus_connection_set_exit_on_close(G_DBUS_CONNECTION(shared), FALSE);
        g_object_add_weak_pointer(held.get(), &shared);
    }
    const auto limit = Deadline::in(1);
    GLibRunLoop loop;
    const auto look = loop.repeatingTimer(0.001, [] {});
    loop.runUntil([&] { return !shared || limit.hasPassed(); });
    if (shared) g_object_remove_weak_pointer(G_OBJECT(shared), &shared);
}

bool PrivateSession::waitForName(const char* name, bool isOwned) {
    struct Seen {
        bool isKnown = false;
        bool isOwned = false;
    } seen;
    glib::NameWatch watch;
    {
        const auto pushed = context.push();
        watch = glib::NameWatch(g_bus_watch_name_on_connection(
            connection.get(), name, G_BUS_NAME_WATCHER_FLAGS_NONE,
            [](GDBusConnection*, const gchar*, const gchar*, gpointer data) {
                *static_cast<Seen*>(data) = {true, true};
            },
            [](GDBusConnection*, const gchar*, gpointer data) {
                *static_cast<Seen*>(data) = {true, false};
            },
            &seen, nullptr));
    }
    return context.waitUntil([&] { return seen.isKnown && seen.isOwned == isOwned; }, Deadline::in(patience));
}

glib::Variant PrivateSession::call(const char* name, const char* path, const char* interface,
                                   const char* method, GVariant* arguments) {
    return glib::Variant(g_dbus_connection_call_sync(connection.get(), name, path, interface, method,
                                                     arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                                     static_cast<gint>(patience * 1000), nullptr, nullptr));
}

GnomeKeyring::GnomeKeyring(PrivateSession& session, Start start) : session(session) {
    std::vector<std::string> command{"gnome-keyring-daemon", "--foreground", "--components=secrets"};
    if (start == Start::unlocked) command.emplace_back("--unlock");
    daemon = std::make_unique<TestProcess>(command, start == Start::unlocked ? "pw" : "");
    EXPECT_TRUE(session.waitForName(secretsName, true));
}

void GnomeKeyring::lock() {
    const char* paths[] = {loginPath};
    EXPECT_TRUE(session.call(secretsName, secretsPath, serviceInterface, "Lock",
                             g_variant_new("(@ao)", g_variant_new_objv(paths, 1))));
}

void GnomeKeyring::unlock() {
    const auto opened = this->session.call(secretsName, secretsPath, serviceInterface, "OpenSession",
                                           g_variant_new("(sv)", "plain", g_variant_new_string("")));
    ASSERT_TRUE(opened);
    const char* session = nullptr;
    g_variant_get(opened.get(), "(v&o)", nullptr, &session);
    const auto bytes = [](const char* text, gsize size) {
        return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, text, size, 1);
    };
    const auto secret = g_variant_new("(o@ay@ays)", session, bytes("", 0), bytes("pw", 2), "text/plain");
    EXPECT_TRUE(this->session.call(
        secretsName, secretsPath, "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface",
        "UnlockWithMasterPassword", g_variant_new("(o@(oayays))", loginPath, secret)));
}

void GnomeKeyring::kill() {
    if (!daemon) return;
    daemon.reset();
    EXPECT_TRUE(session.waitForName(secretsName, false));
}

int GnomeKeyring::itemCount() {
    const auto reply = session.call(secretsName, loginPath, "org.freedesktop.DBus.Properties", "Get",
                                    g_variant_new("(ss)", "org.freedesktop.Secret.Collection", "Items"));
    if (!reply) return -1;
    glib::Variant items;
    g_variant_get(reply.get(), "(v)", static_cast<GVariant**>(glib::Out(items)));
    return static_cast<int>(g_variant_n_children(items.get()));
}

}  // namespace vellumix::linux_desktop
