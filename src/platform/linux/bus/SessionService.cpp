#include "platform/linux/bus/SessionService.h"

#include <optional>
#include <string_view>
#include <utility>

#include "platform/linux/bus/BusObject.h"
#include "platform/linux/bus/ControlInterface.h"
#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

constexpr double claimSeconds = 5;

}  // namespace

struct SessionService::State {
    PrivateContext context;
    glib::Connection connection;
    std::unique_ptr<BusObject> object;
    std::optional<Handlers> handlers;

    ~State() {
        if (!connection) return;
        object.reset();
        closeAfterFlush(context, connection.get());
    }

    bool makeObject(RunLoop& runLoop);
    bool requestName(Deadline deadline, bool& isOwner);
    void answer(std::string_view method, GVariant* arguments, BusCall& call);
};

bool SessionService::State::makeObject(RunLoop& runLoop) {
    object = std::make_unique<BusObject>(
        runLoop, connection.get(), control::objectPath, control::description,
        BusObject::Handlers{.answer = [this](std::string_view method, GVariant* arguments, BusCall& call) {
            answer(method, arguments, call);
        }});
    return object->isThere();
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

void SessionService::State::answer(std::string_view method, GVariant* arguments, BusCall& call) {
    if (!handlers) return call.refuse("com.tarnwick.Vellumix.Error.Starting", "The program is starting");
    if (method == "Status") return call.reply(g_variant_new("(s)", handlers->status().c_str()));
    if (method == "TakeAccount") {
        CloudAccount account;
        const char* address = nullptr;
        const char* user = nullptr;
        g_variant_get(arguments, "(&s&s)", &address, &user);
        account = {address, user};
        call.reply(nullptr);
        return handlers->takeAccount(account.address.empty() ? std::nullopt : std::optional(account));
    }
    // The reply goes first: any handler may end this service.
    const auto handler = method == "Quit"     ? handlers->quit
                         : method == "Toggle" ? handlers->toggle
                         : method == "Show"   ? handlers->show
                                              : handlers->hide;
    call.reply(nullptr);
    handler();
}

SessionService::SessionService(std::unique_ptr<State> state) : state(std::move(state)) {}
SessionService::~SessionService() = default;

SessionService::Claim SessionService::claim(RunLoop& runLoop) {
    const auto deadline = Deadline::in(claimSeconds);
    auto state = std::make_unique<State>();
    state->connection = connectToSessionBus(state->context, deadline);
    if (!state->connection) return {};
    // Before the name, so that whoever sees the name finds the object.
    bool isOwner = false;
    if (!state->makeObject(runLoop) || !state->requestName(deadline, isOwner)) return {};
    if (!isOwner) return {Outcome::otherOwns, nullptr};
    return {Outcome::owner, std::unique_ptr<SessionService>(new SessionService(std::move(state)))};
}

void SessionService::setHandlers(Handlers handlers) { state->handlers = std::move(handlers); }

}  // namespace vellumix::linux_desktop
