#include "platform/linux/authentication/SessionWatch.h"

#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/observation/ObserverList.h"
#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto loginName = "org.freedesktop.login1";
constexpr auto loginPath = "/org/freedesktop/login1";
constexpr auto managerInterface = "org.freedesktop.login1.Manager";
constexpr auto sessionInterface = "org.freedesktop.login1.Session";
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
/// Stands for the caller's session, and for a service of the user's for the one that they see. Signals come
/// from the session's own path.
constexpr auto ownSessionPath = "/org/freedesktop/login1/session/auto";

std::string systemBusAddress() {
    const glib::Text address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    return address ? address.get() : std::string();
}

/// The one boolean of a signal says yes.
bool isTrue(GVariant* arguments) {
    gboolean value = FALSE;
    if (g_variant_is_of_type(arguments, G_VARIANT_TYPE("(b)"))) g_variant_get(arguments, "(b)", &value);
    return value != FALSE;
}

bool hasProperty(GVariant* changed, const char* name, bool value) {
    gboolean now = FALSE;
    return g_variant_lookup(changed, name, "b", &now) && (now != FALSE) == value;
}

bool saysThatItResigns(std::string_view member, GVariant* arguments) {
    if (member == "Lock") return true;
    if (member == "PrepareForSleep" || member == "ActiveChanged") return isTrue(arguments);
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return false;
    const glib::Variant changed(g_variant_get_child_value(arguments, 1));
    return hasProperty(changed.get(), "LockedHint", true) || hasProperty(changed.get(), "Active", false);
}

}  // namespace

struct SessionWatch::State : std::enable_shared_from_this<State> {
    ObserverList<> observers;
    bool hasBegun = false;
    glib::Connection systemBus;
    glib::Connection sessionBus;
    std::vector<glib::Subscription> subscriptions;

    void begin();
    void listen(GDBusConnection* bus, const char* sender, const char* interface, const char* member,
                const char* path, const char* firstArgument = nullptr);
    void listenToLoginManager();
    void listenToScreenSavers();

    /// What is to follow on an asynchronous operation of GIO, for as long as somebody else holds the state.
    using Next = std::function<void(State&, GObject* source, GAsyncResult* result)>;
    struct Step {
        std::weak_ptr<State> state;
        Next next;
    };
    gpointer then(Next next) {
        return std::make_unique<Step>(Step{weak_from_this(), std::move(next)}).release();
    }
    static void goOn(GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Step> step(static_cast<Step*>(data));
        if (const auto state = step->state.lock()) step->next(*state, source, result);
    }

    void connect(const std::string& address, glib::Connection State::*bus, void (State::*listen)());
    void ask(const char* path, const char* interface, const char* method, GVariant* arguments,
             std::function<void(State&, GVariant* reply)> next);
};

void SessionWatch::State::connect(const std::string& address, glib::Connection State::*bus,
                                  void (State::*listen)()) {
    if (address.empty()) return;
    g_dbus_connection_new_for_address(
        address.c_str(), busConnectionFlags, nullptr, nullptr, goOn,
        then([bus, listen](State& self, GObject*, GAsyncResult* result) {
            self.*bus = glib::Connection(g_dbus_connection_new_for_address_finish(result, nullptr));
            if (self.*bus) (self.*listen)();
        }));
}

void SessionWatch::State::ask(const char* path, const char* interface, const char* method,
                              GVariant* arguments, std::function<void(State&, GVariant*)> next) {
    g_dbus_connection_call(systemBus.get(), loginName, path, interface, method, arguments, nullptr,
                           G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, goOn,
                           then([next = std::move(next)](State& self, GObject* source, GAsyncResult* result) {
                               const glib::Variant reply(
                                   g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
                               if (reply) next(self, reply.get());
                           }));
}

void SessionWatch::State::begin() {
    if (std::exchange(hasBegun, true)) return;
    connect(systemBusAddress(), &State::systemBus, &State::listenToLoginManager);
    connect(sessionBusAddress(), &State::sessionBus, &State::listenToScreenSavers);
}

void SessionWatch::State::listen(GDBusConnection* bus, const char* sender, const char* interface,
                                 const char* member, const char* path, const char* firstArgument) {
    subscriptions.emplace_back(
        bus, g_dbus_connection_signal_subscribe(
                 bus, sender, interface, member, path, firstArgument, G_DBUS_SIGNAL_FLAGS_NONE,
                 [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* told,
                    GVariant* arguments, gpointer state) {
                     if (saysThatItResigns(told, arguments)) static_cast<State*>(state)->observers.notify();
                 },
                 this, nullptr));
}

void SessionWatch::State::listenToLoginManager() {
    listen(systemBus.get(), loginName, managerInterface, "PrepareForSleep", loginPath);
    ask(ownSessionPath, propertiesInterface, "Get", g_variant_new("(ss)", sessionInterface, "Id"),
        [](State& self, GVariant* property) {
            if (!g_variant_is_of_type(property, G_VARIANT_TYPE("(v)"))) return;
            glib::Variant id;
            g_variant_get(property, "(v)", static_cast<GVariant**>(glib::Out(id)));
            if (!g_variant_is_of_type(id.get(), G_VARIANT_TYPE_STRING)) return;
            self.ask(loginPath, managerInterface, "GetSession", g_variant_new("(@s)", id.get()),
                     [](State& asker, GVariant* answer) {
                         if (!g_variant_is_of_type(answer, G_VARIANT_TYPE("(o)"))) return;
                         const char* path = nullptr;
                         g_variant_get(answer, "(&o)", &path);
                         auto* const bus = asker.systemBus.get();
                         asker.listen(bus, loginName, sessionInterface, "Lock", path);
                         asker.listen(bus, loginName, propertiesInterface, "PropertiesChanged", path,
                                      sessionInterface);
                     });
        });
}

void SessionWatch::State::listenToScreenSavers() {
    for (const auto* name : {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver"}) {
        listen(sessionBus.get(), name, name, "ActiveChanged", nullptr);
    }
}

SessionWatch::SessionWatch() : state(std::make_shared<State>()) {}
SessionWatch::~SessionWatch() = default;

Observation SessionWatch::observe(std::function<void()> observer) {
    state->begin();
    return state->observers.add(std::move(observer));
}

}  // namespace vellumix::linux_desktop
