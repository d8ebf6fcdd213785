#include "platform/linux/bus/SessionInstance.h"

#include "platform/linux/bus/ControlInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

constexpr double lookSeconds = 5;
constexpr double callSeconds = 10;

}  // namespace

struct SessionInstance::State {
    PrivateContext context;
    glib::Connection connection;
    Presence presence = Presence::unknown;

    glib::Variant call(const char* name, const char* path, const char* interface, const char* method,
                       GVariant* arguments, const char* replyType, Deadline deadline);
    glib::Variant control(const char* method, const char* replyType, Deadline deadline,
                          GVariant* arguments = nullptr) {
        return call(control::busName, control::objectPath, control::interfaceName, method, arguments,
                    replyType, deadline);
    }
};

glib::Variant SessionInstance::State::call(const char* name, const char* path, const char* interface,
                                           const char* method, GVariant* arguments, const char* replyType,
                                           Deadline deadline) {
    const auto operation = context.perform(
        [&](auto... rest) {
            g_dbus_connection_call(connection.get(), name, path, interface, method, arguments,
                                   G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, rest...);
        },
        deadline);
    if (!operation) return nullptr;
    return glib::Variant(g_dbus_connection_call_finish(connection.get(), operation->result(), nullptr));
}

SessionInstance::SessionInstance() : state(std::make_unique<State>()) {
    const auto deadline = Deadline::in(lookSeconds);
    state->connection = connectToSessionBus(state->context, deadline);
    if (!state->connection) return;
    const auto reply = state->call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "NameHasOwner", g_variant_new("(s)", control::busName), "(b)", deadline);
    if (!reply) return;
    gboolean hasOwner = FALSE;
    g_variant_get(reply.get(), "(b)", &hasOwner);
    state->presence = hasOwner ? Presence::running : Presence::notRunning;
}

SessionInstance::~SessionInstance() = default;

SessionInstance::Presence SessionInstance::presence() const { return state->presence; }

std::optional<std::string> SessionInstance::status() {
    if (presence() != Presence::running) return std::nullopt;
    const auto reply = state->control("Status", "(s)", Deadline::in(callSeconds));
    if (!reply) return std::nullopt;
    const char* json = nullptr;
    g_variant_get(reply.get(), "(&s)", &json);
    return json;
}

bool SessionInstance::quit() {
    if (presence() != Presence::running) return false;
    const auto deadline = Deadline::in(callSeconds);
    bool hasGone = false;
    glib::NameWatch watch;
    {
        const auto pushed = state->context.push();
        watch = glib::NameWatch(g_bus_watch_name_on_connection(
            state->connection.get(), control::busName, G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr,
            [](GDBusConnection*, const gchar*, gpointer flag) { *static_cast<bool*>(flag) = true; }, &hasGone,
            nullptr));
    }
    // Without a reply it may have gone before it could give one.
    state->control("Quit", "()", deadline);
    const bool isDone = state->context.waitUntil([&] { return hasGone; }, deadline);
    if (isDone) state->presence = Presence::notRunning;
    return isDone;
}

bool SessionInstance::ask(PanelRequest request) {
    if (presence() != Presence::running) return false;
    const char* method = request == PanelRequest::toggle ? "Toggle"
                         : request == PanelRequest::show ? "Show"
                                                         : "Hide";
    return static_cast<bool>(state->control(method, "()", Deadline::in(callSeconds)));
}

bool SessionInstance::takeAccount(const std::optional<CloudAccount>& account) {
    if (presence() != Presence::running) return false;
    const auto told = account.value_or(CloudAccount());
    return static_cast<bool>(state->control("TakeAccount", "()", Deadline::in(callSeconds),
                                            g_variant_new("(ss)", told.address.c_str(), told.user.c_str())));
}

}  // namespace vellumix::linux_desktop
