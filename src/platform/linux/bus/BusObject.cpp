#include "platform/linux/bus/BusObject.h"

#include <mutex>
#include <string>
#include <utility>

#include "platform/foundation/loop/FairQueue.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";

/// Of one caller. Trays ask for some ten things at once.
constexpr std::size_t callsWaiting = 64;
constexpr gsize callBytes = gsize{16} << 10;

std::string signatureOf(GDBusArgInfo* const* arguments) {
    std::string signature;
    for (; arguments && *arguments; ++arguments) signature += (*arguments)->signature;
    return signature;
}

}  // namespace

BusCall::BusCall(GDBusConnection* connection, GDBusMessage* message)
    : connection(G_DBUS_CONNECTION(g_object_ref(connection))),
      message(G_DBUS_MESSAGE(g_object_ref(message))) {}

void BusCall::reply(GVariant* values) {
    const glib::Variant owned(values ? g_variant_ref_sink(values) : nullptr);
    const glib::Object<GDBusMessage> answer(g_dbus_message_new_method_reply(message.get()));
    if (owned) g_dbus_message_set_body(answer.get(), owned.get());
    send(answer.get());
}

void BusCall::refuse(const char* error, const char* message) {
    const glib::Object<GDBusMessage> answer(
        g_dbus_message_new_method_error_literal(this->message.get(), error, message));
    send(answer.get());
}

void BusCall::send(GDBusMessage* answer) {
    if (g_dbus_message_get_flags(message.get()) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) return;
    g_dbus_connection_send_message(connection.get(), answer, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                   nullptr);
}

/// Shared with the bus's thread.
struct BusObject::State : std::enable_shared_from_this<State> {
    State(RunLoop& loop, GDBusConnection* bus, const char* objectPath, const char* description, Handlers all)
        : runLoop(loop),
          connection(bus),
          path(objectPath),
          node(g_dbus_node_info_new_for_xml(description, nullptr)),
          interface(node->interfaces[0]),
          handlers(std::move(all)) {}

    RunLoop& runLoop;
    GDBusConnection* const connection;
    const std::string path;
    const glib::NodeInfo node;
    GDBusInterfaceInfo* const interface;

    /// Main thread.
    Handlers handlers;

    std::mutex mutex;
    /// Under the mutex, with all that follows.
    bool isOpen = true;
    bool isTurnDue = false;
    FairQueue<std::string, glib::Object<GDBusMessage>> waiting;

    /// On the bus's thread: null when the message is taken.
    GDBusMessage* filter(GDBusMessage* message);
    bool isAnswered(GDBusMessage* message) const;
    bool isOwnProperty(GDBusMessage* message, std::string_view method) const;
    void goOnLater();
    void takeTurn();
    void answer(GDBusMessage* message);
    GVariant* allProperties();
};

GDBusMessage* BusObject::State::filter(GDBusMessage* message) {
    if (!isAnswered(message)) return message;
    glib::Object<GDBusMessage> taken(message);
    const char* sender = g_dbus_message_get_sender(message);
    const std::string caller = sender ? sender : "";
    auto* const body = g_dbus_message_get_body(message);
    const bool isTooLarge = body && g_variant_get_size(body) > callBytes;
    const std::lock_guard lock(mutex);
    if (!isOpen) return taken.release();
    if (isTooLarge || waiting.countOf(caller) >= callsWaiting) {
        BusCall(connection, message)
            .refuse("org.freedesktop.DBus.Error.LimitsExceeded", "Too much was asked at a time");
        return nullptr;
    }
    waiting.add(caller, std::move(taken));
    goOnLater();
    return nullptr;
}

bool BusObject::State::isAnswered(GDBusMessage* message) const {
    if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return false;
    const char* called = g_dbus_message_get_path(message);
    const char* asked = g_dbus_message_get_interface(message);
    const char* method = g_dbus_message_get_member(message);
    if (!called || called != path || !asked || !method) return false;
    if (asked == std::string_view(propertiesInterface)) return isOwnProperty(message, method);
    if (asked != std::string_view(interface->name)) return false;
    const auto* found = g_dbus_interface_info_lookup_method(interface, method);
    return found && signatureOf(found->in_args) == g_dbus_message_get_signature(message);
}

bool BusObject::State::isOwnProperty(GDBusMessage* message, std::string_view method) const {
    if (!interface->properties) return false;
    auto* const body = g_dbus_message_get_body(message);
    const char* asked = nullptr;
    const char* name = nullptr;
    if (method == "GetAll" && body && g_variant_is_of_type(body, G_VARIANT_TYPE("(s)"))) {
        g_variant_get(body, "(&s)", &asked);
    } else if (method == "Get" && body && g_variant_is_of_type(body, G_VARIANT_TYPE("(ss)"))) {
        g_variant_get(body, "(&s&s)", &asked, &name);
        if (!g_dbus_interface_info_lookup_property(interface, name)) return false;
    }
    return asked && asked == std::string_view(interface->name);
}

void BusObject::State::goOnLater() {
    if (waiting.empty() || std::exchange(isTurnDue, true)) return;
    runLoop.postBehind([weak = weak_from_this()] {
        if (const auto state = weak.lock()) state->takeTurn();
    });
}

void BusObject::State::takeTurn() {
    glib::Object<GDBusMessage> message;
    {
        const std::lock_guard lock(mutex);
        isTurnDue = false;
        if (!isOpen) return;
        message = waiting.take();
        goOnLater();
    }
    answer(message.get());
}

void BusObject::State::answer(GDBusMessage* message) {
    BusCall call(connection, message);
    auto* const arguments = g_dbus_message_get_body(message);
    const std::string_view method = g_dbus_message_get_member(message);
    if (g_dbus_message_get_interface(message) == std::string_view(interface->name)) {
        const auto running = handlers.answer;
        return running(method, arguments, call);
    }
    if (method == "GetAll") return call.reply(allProperties());
    const char* name = nullptr;
    g_variant_get(arguments, "(&s&s)", nullptr, &name);
    call.reply(g_variant_new("(v)", handlers.property(name)));
}

GVariant* BusObject::State::allProperties() {
    GVariantBuilder all;
    g_variant_builder_init(&all, G_VARIANT_TYPE("a{sv}"));
    for (auto* const* each = interface->properties; *each; ++each) {
        g_variant_builder_add(&all, "{sv}", (*each)->name, handlers.property((*each)->name));
    }
    return g_variant_new("(a{sv})", &all);
}

BusObject::BusObject(RunLoop& runLoop, GDBusConnection* connection, const char* path, const char* description,
                     Handlers handlers)
    : state(std::make_shared<State>(runLoop, connection, path, description, std::move(handlers))),
      // Describes the object to who asks what it is, and refuses all calls that the filter lets through.
      registration(connection, path, this->state->interface, nullptr, nullptr),
      filter(connection,
             g_dbus_connection_add_filter(
                 connection,
                 [](GDBusConnection*, GDBusMessage* message, gboolean isIncoming, gpointer state) {
                     return isIncoming ? (*static_cast<std::shared_ptr<State>*>(state))->filter(message)
                                       : message;
                 },
                 std::make_unique<std::shared_ptr<State>>(this->state).release(),
                 [](gpointer state) {
                     const std::unique_ptr<std::shared_ptr<State>> own(
                         static_cast<std::shared_ptr<State>*>(state));
                 })) {}

BusObject::~BusObject() {
    filter = {};
    state->handlers = {};
    const std::lock_guard lock(state->mutex);
    state->isOpen = false;
}

}  // namespace vellumix::linux_desktop
