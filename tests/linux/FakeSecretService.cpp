#include "linux/FakeSecretService.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>

#include "platform/foundation/bytes/Data.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto servicePath = "/org/freedesktop/secrets";
constexpr auto collectionPath = "/org/freedesktop/secrets/collection/only";
constexpr auto aliasPath = "/org/freedesktop/secrets/aliases/default";
constexpr auto itemPath = "/org/freedesktop/secrets/collection/only/1";
constexpr auto promptPath = "/org/freedesktop/secrets/prompt/1";
constexpr auto sessionPath = "/org/freedesktop/secrets/session/1";

constexpr auto interfaces = R"(<node>
<interface name='org.freedesktop.Secret.Service'>
  <method name='OpenSession'><arg type='s' direction='in'/><arg type='v' direction='in'/>
    <arg type='v' direction='out'/><arg type='o' direction='out'/></method>
  <method name='SearchItems'><arg type='a{ss}' direction='in'/><arg type='ao' direction='out'/>
    <arg type='ao' direction='out'/></method>
  <method name='Unlock'><arg type='ao' direction='in'/><arg type='ao' direction='out'/>
    <arg type='o' direction='out'/></method>
  <method name='ReadAlias'><arg type='s' direction='in'/><arg type='o' direction='out'/></method>
  <method name='CreateCollection'><arg type='a{sv}' direction='in'/><arg type='s' direction='in'/>
    <arg type='o' direction='out'/><arg type='o' direction='out'/></method>
  <method name='GetSecrets'><arg type='ao' direction='in'/><arg type='o' direction='in'/>
    <arg type='a{o(oayays)}' direction='out'/></method>
</interface>
<interface name='org.freedesktop.Secret.Collection'>
  <method name='CreateItem'><arg type='a{sv}' direction='in'/><arg type='(oayays)' direction='in'/>
    <arg type='b' direction='in'/><arg type='o' direction='out'/><arg type='o' direction='out'/></method>
  <property name='Locked' type='b' access='read'/>
</interface>
<interface name='org.freedesktop.Secret.Item'><method name='Delete'><arg type='o' direction='out'/></method></interface>
<interface name='org.freedesktop.Secret.Prompt'>
  <method name='Prompt'><arg type='s' direction='in'/></method><method name='Dismiss'/>
  <signal name='Completed'><arg type='b'/><arg type='v'/></signal>
</interface></node>)";

GVariant* paths(std::initializer_list<const char*> list) {
    return g_variant_new_objv(list.begin(), static_cast<gssize>(list.size()));
}

}  // namespace

struct FakeSecretService::State {
    FakeSecretService& fake;
    glib::Connection connection;
    std::optional<Bytes> secret;
    bool isCreating = false;

    void handle(std::string_view method, GVariant* arguments, GDBusMethodInvocation* invocation);
    void complete(bool isDismissed);
};

void FakeSecretService::State::complete(bool isDismissed) {
    if (!isDismissed) fake.manners.isLocked = false;
    if (!isDismissed && isCreating) fake.manners.hasCollection = true;
    const auto result = isCreating    ? g_variant_new_object_path(isDismissed ? "/" : collectionPath)
                        : isDismissed ? paths({})
                                      : paths({collectionPath});
    g_dbus_connection_emit_signal(connection.get(), nullptr, promptPath, "org.freedesktop.Secret.Prompt",
                                  "Completed", g_variant_new("(bv)", isDismissed, result), nullptr);
}

void FakeSecretService::State::handle(std::string_view method, GVariant* arguments,
                                      GDBusMethodInvocation* invocation) {
    auto& manners = fake.manners;
    ++fake.calls;
    const auto reply = [&](GVariant* value) { g_dbus_method_invocation_return_value(invocation, value); };
    if (method == "OpenSession") {
        const char* algorithm = nullptr;
        g_variant_get(arguments, "(&sv)", &algorithm, nullptr);
        if (std::string_view(algorithm) == "plain")
            reply(g_variant_new("(vo)", g_variant_new_string(""), sessionPath));
        else
            g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.NotSupported",
                                                       "no");
        return;
    }
    if (manners.isMute) return;
    if (method == "SearchItems") {
        const auto found = secret ? paths({itemPath}) : paths({});
        // Like the real ones, it shows nothing of what is locked.
        reply(manners.isLocked ? g_variant_new("(@ao@ao)", paths({}), paths({}))
                               : g_variant_new("(@ao@ao)", found, paths({})));
    } else if (method == "ReadAlias") {
        reply(g_variant_new("(o)", manners.hasCollection ? collectionPath : "/"));
    } else if (method == "Unlock") {
        isCreating = false;
        reply(manners.isLocked ? g_variant_new("(@aoo)", paths({}), promptPath)
                               : g_variant_new("(@aoo)", paths({collectionPath}), "/"));
    } else if (method == "CreateCollection") {
        isCreating = true;
        reply(g_variant_new("(oo)", "/", promptPath));
    } else if (method == "Prompt") {
        ++fake.prompts;
        reply(nullptr);
        if (manners.user != User::isAway) complete(manners.user == User::refuses);
    } else if (method == "Dismiss") {
        ++fake.dismissals;
        reply(nullptr);
        complete(true);
    } else if (method == "CreateItem") {
        glib::Variant given(g_variant_get_child_value(arguments, 1));
        glib::Variant value(g_variant_get_child_value(given.get(), 2));
        gsize size = 0;
        const auto bytes = static_cast<const std::uint8_t*>(g_variant_get_fixed_array(value.get(), &size, 1));
        secret = Bytes(bytes, bytes + size);
        if (manners.storage == Storage::textOnly)
            for (auto& byte : *secret) byte = byte < 0x80 ? byte : '?';
        ++fake.stored;
        reply(g_variant_new("(oo)", itemPath, "/"));
    } else if (method == "GetSecrets") {
        const auto value = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, secret->data(), secret->size(), 1);
        const auto empty = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, nullptr, 0, 1);
        GVariantBuilder secrets;
        g_variant_builder_init(&secrets, G_VARIANT_TYPE("a{o(oayays)}"));
        g_variant_builder_add(&secrets, "{o(o@ay@ays)}", itemPath, sessionPath, empty, value,
                              "application/octet-stream");
        reply(g_variant_new("(a{o(oayays)})", &secrets));
    } else if (method == "Delete") {
        secret.reset();
        --fake.stored;
        reply(g_variant_new("(o)", "/"));
    }
}

FakeSecretService::FakeSecretService(Manners manners)
    : manners(manners), context(g_main_context_new()), state(std::make_unique<State>(State{*this, {}, {}})) {
    static constexpr GDBusInterfaceVTable table{
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
           GVariant* arguments, GDBusMethodInvocation* invocation,
           gpointer state) { static_cast<State*>(state)->handle(method, arguments, invocation); },
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GError**, gpointer state)
            -> GVariant* { return g_variant_new_boolean(static_cast<State*>(state)->fake.manners.isLocked); },
        nullptr,
        {},
    };
    {
        PrivateContext connecting;
        this->state->connection = connectToSessionBus(connecting, Deadline::in(10));
    }
    const glib::NodeInfo node(g_dbus_node_info_new_for_xml(interfaces, nullptr));
    const std::pair<const char*, int> objects[]{
        {servicePath, 0}, {collectionPath, 1}, {aliasPath, 1}, {itemPath, 2}, {promptPath, 3}};
    // The calls come to the context that is the default one at the registration.
    g_main_context_push_thread_default(context.get());
    for (const auto& [path, number] : objects)
        g_dbus_connection_register_object(this->state->connection.get(), path, node->interfaces[number],
                                          &table, this->state.get(), nullptr, nullptr);
    g_main_context_pop_thread_default(context.get());
    thread = std::thread([this] {
        g_main_context_push_thread_default(context.get());
        while (!isEnding) g_main_context_iteration(context.get(), TRUE);
        g_main_context_pop_thread_default(context.get());
    });
    const glib::Variant owned(g_dbus_connection_call_sync(
        this->state->connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
        "org.freedesktop.DBus", "RequestName", g_variant_new("(su)", "org.freedesktop.secrets", 4u), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    EXPECT_TRUE(owned);
}

FakeSecretService::~FakeSecretService() {
    isEnding = true;
    g_main_context_wakeup(context.get());
    thread.join();
    g_dbus_connection_close_sync(state->connection.get(), nullptr, nullptr);
}

void FakeSecretService::inItsThread(const std::function<void()>& work) {
    struct Call {
        const std::function<void()>& work;
        std::promise<void> isDone;
    } call{work, {}};
    g_main_context_invoke(
        context.get(),
        [](gpointer data) -> gboolean {
            auto& given = *static_cast<Call*>(data);
            given.work();
            given.isDone.set_value();
            return G_SOURCE_REMOVE;
        },
        &call);
    call.isDone.get_future().wait();
}

void FakeSecretService::answerPrompt() {
    inItsThread([this] { state->complete(false); });
}

void FakeSecretService::lock() {
    inItsThread([this] { manners.isLocked = true; });
}

void FakeSecretService::set(Manners manners) {
    inItsThread([&] { this->manners = manners; });
}

}  // namespace vellumix::linux_desktop
