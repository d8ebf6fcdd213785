#include "platform/linux/SessionService.h"

#include <optional>
#include <string_view>
#include <utility>

#include "platform/linux/ControlInterface.h"
#include "platform/linux/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

constexpr double claimSeconds = 5;

}  // namespace

struct SessionService::State {
    PrivateContext context;
    glib::Connection connection;
    glib::Registration registration;
    std::optional<Handlers> handlers;

    ~State() {
        if (!connection) return;
        registration = {};
        closeAfterFlush(context, connection.get());
    }

    bool registerObject();
    bool requestName(Deadline deadline, bool& isOwner);
    void answer(std::string_view method, GDBusMethodInvocation* invocation);
};

bool SessionService::State::registerObject() {
    static constexpr GDBusInterfaceVTable table{
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method, GVariant*,
           GDBusMethodInvocation* invocation,
           gpointer state) { static_cast<State*>(state)->answer(method, invocation); },
        nullptr,
        nullptr,
        {},
    };
    const glib::NodeInfo node(g_dbus_node_info_new_for_xml(control::description, nullptr));
    registration =
        glib::Registration(connection.get(), control::objectPath, node->interfaces[0], &table, this);
    return static_cast<bool>(registration);
}

bool SessionService::State::requestName(Deadline deadline, bool& isOwner) {
    const auto operation = context.perform(
        [&](auto... rest) {
            g_dbus_connection_call(connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "RequestName",
                                   g_variant_new("(su)", control::busName, doNotQueue), G_VARIANT_TYPE("(u)"),
                                   G_DBUS_CALL_FLAGS_NONE, -1, rest...);
        },
        deadline);
    if (!operation) return false;
    const glib::Variant reply(g_dbus_connection_call_finish(connection.get(), operation->result(), nullptr));
    if (!reply) return false;
    guint32 result = 0;
    g_variant_get(reply.get(), "(u)", &result);
    isOwner = result == isPrimaryOwner;
    return true;
}

void SessionService::State::answer(std::string_view method, GDBusMethodInvocation* invocation) {
    if (!handlers) {
        g_dbus_method_invocation_return_dbus_error(invocation, "com.tarnwick.Vellumix.Error.Starting",
                                                   "The program is starting");
        return;
    }
    if (method == "Status") {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", handlers->status().c_str()));
        return;
    }
    // The reply goes first: any handler may end this service.
    const auto handler = method == "Quit"     ? handlers->quit
                         : method == "Toggle" ? handlers->toggle
                         : method == "Show"   ? handlers->show
                                              : handlers->hide;
    g_dbus_method_invocation_return_value(invocation, nullptr);
    handler();
}

SessionService::SessionService(std::unique_ptr<State> state) : _state(std::move(state)) {}
SessionService::~SessionService() = default;

SessionService::Claim SessionService::claim() {
    const auto deadline = Deadline::in(claimSeconds);
    auto state = std::make_unique<State>();
    state->connection = connectToSessionBus(state->context, deadline);
    if (!state->connection) return {};
    // Before the name, so that whoever sees the name finds the object.
    bool isOwner = false;
    if (!state->registerObject() || !state->requestName(deadline, isOwner)) return {};
    if (!isOwner) return {Outcome::otherOwns, nullptr};
    return {Outcome::owner, std::unique_ptr<SessionService>(new SessionService(std::move(state)))};
}

void SessionService::setHandlers(Handlers handlers) { _state->handlers = std::move(handlers); }

}  // namespace vellumix::linux_desktop
