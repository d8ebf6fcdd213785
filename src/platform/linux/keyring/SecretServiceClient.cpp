#include "platform/linux/keyring/SecretServiceClient.h"

#include <algorithm>
#include <utility>

#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto busName = "org.freedesktop.secrets";
constexpr auto collectionInterface = "org.freedesktop.Secret.Collection";
constexpr auto defaultAlias = "default";
constexpr auto itemLabel = "Vellumix encryption key";
/// Says that the secret is no text; services that keep texts then keep the bytes as they are.
constexpr auto contentType = "application/octet-stream";

const SecretSchema* schema() {
    static const SecretSchema schema{
        "com.tarnwick.Vellumix",
        SECRET_SCHEMA_NONE,
        {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING}},
        0,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };
    return &schema;
}

glib::Attributes attributesOf(const KeychainItem& item) {
    return glib::Attributes(secret_attributes_build(schema(), "service", item.service.c_str(), "account",
                                                    item.account.c_str(), nullptr));
}

void beginOpening(GCancellable* cancellable, GAsyncReadyCallback callback, gpointer data) {
    secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION, cancellable, callback,
                        data);
}

std::vector<std::string> listOf(const glib::TextList& texts) {
    std::vector<std::string> list;
    for (char** text = texts.get(); text && *text; ++text) list.emplace_back(*text);
    // The service gives them in no order; the same item must be the first each time.
    std::sort(list.begin(), list.end());
    return list;
}

/// A copy that may outlive the call, wiped when it goes.
glib::Secret secretOf(ByteView bytes) {
    const auto copy = static_cast<char*>(g_malloc(bytes.size() + 1));
    std::copy(bytes.begin(), bytes.end(), copy);
    copy[bytes.size()] = 0;
    return glib::Secret(
        secret_value_new_full(copy, static_cast<gssize>(bytes.size()), contentType, glib::wipeAndFree));
}

}  // namespace

bool SecretServiceClient::open(Deadline deadline) {
    failure_ = {};
    if (connection && g_dbus_connection_is_closed(connection.get())) {
        proxy = nullptr;
        connection = nullptr;
    }
    if (proxy) return true;
    if (!connection && !connect(deadline)) return false;
    return call(
        beginOpening,
        [&](GAsyncResult* result, GError** error) { proxy.reset(secret_service_open_finish(result, error)); },
        deadline);
}

void SecretServiceClient::openQuietly(Deadline deadline) {
    glib::Error untold;
    connection = sharedSessionBus(context, deadline, untold);
    const auto operation = connection ? context.perform(beginOpening, deadline) : nullptr;
    if (operation) proxy.reset(secret_service_open_finish(operation->result(), glib::Out(untold)));
}

bool SecretServiceClient::connect(Deadline deadline) {
    glib::Error error;
    connection = sharedSessionBus(context, deadline, error);
    if (!connection) fail(*error, failureOfConnecting(*error));
    return static_cast<bool>(connection);
}

std::optional<SecretServiceClient::Places> SecretServiceClient::search(const KeychainItem& item,
                                                                       Deadline deadline) {
    glib::TextList unlocked, locked;
    const auto attributes = attributesOf(item);
    const bool isDone = call(
        [&](auto... rest) {
            secret_service_search_for_dbus_paths(proxy.get(), schema(), attributes.get(), rest...);
        },
        [&](GAsyncResult* result, GError** error) {
            secret_service_search_for_dbus_paths_finish(proxy.get(), result, glib::Out(unlocked),
                                                        glib::Out(locked), error);
        },
        deadline);
    if (!isDone) return std::nullopt;
    return Places{listOf(unlocked), listOf(locked)};
}

std::optional<SecretServiceClient::Place> SecretServiceClient::defaultCollection(Deadline deadline) {
    glib::Text path;
    const bool isDone =
        call([&](auto... rest) { secret_service_read_alias_dbus_path(proxy.get(), defaultAlias, rest...); },
             [&](GAsyncResult* result, GError** error) {
                 path.reset(secret_service_read_alias_dbus_path_finish(proxy.get(), result, error));
             },
             deadline);
    if (!isDone) return std::nullopt;
    return path ? Place(path.get()) : Place();
}

std::optional<bool> SecretServiceClient::isLocked(const Place& collection, Deadline deadline) {
    glib::Variant value;
    const bool isDone = call(
        [&](auto... rest) {
            g_dbus_connection_call(connection.get(), busName, collection.c_str(),
                                   "org.freedesktop.DBus.Properties", "Get",
                                   g_variant_new("(ss)", collectionInterface, "Locked"),
                                   G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1, rest...);
        },
        [&](GAsyncResult* result, GError** error) {
            value.reset(g_dbus_connection_call_finish(connection.get(), result, error));
        },
        deadline);
    if (!isDone) return std::nullopt;
    glib::Variant locked;
    g_variant_get(value.get(), "(v)", static_cast<GVariant**>(glib::Out(locked)));
    // What isn't known to be open counts as locked.
    return !g_variant_is_of_type(locked.get(), G_VARIANT_TYPE_BOOLEAN) || g_variant_get_boolean(locked.get());
}

std::optional<Bytes> SecretServiceClient::secret(const Place& item, Deadline deadline) {
    glib::Secret secret;
    const bool isDone = call(
        [&](auto... rest) { secret_service_get_secret_for_dbus_path(proxy.get(), item.c_str(), rest...); },
        [&](GAsyncResult* result, GError** error) {
            secret.reset(secret_service_get_secret_for_dbus_path_finish(proxy.get(), result, error));
        },
        deadline);
    if (!isDone || !secret) return std::nullopt;
    gsize size = 0;
    const auto bytes = reinterpret_cast<const std::uint8_t*>(secret_value_get(secret.get(), &size));
    return Bytes(bytes, bytes + size);
}

bool SecretServiceClient::store(const KeychainItem& item, ByteView secret, Deadline deadline) {
    const auto attributes = attributesOf(item);
    const auto value = secretOf(secret);
    return call(
        [&](auto... rest) {
            secret_service_store(proxy.get(), schema(), attributes.get(), SECRET_COLLECTION_DEFAULT,
                                 itemLabel, value.get(), rest...);
        },
        [&](GAsyncResult* result, GError** error) {
            secret_service_store_finish(proxy.get(), result, error);
        },
        deadline);
}

bool SecretServiceClient::remove(const Place& item, Deadline deadline) {
    return call(
        [&](auto... rest) { secret_service_delete_item_dbus_path(proxy.get(), item.c_str(), rest...); },
        [&](GAsyncResult* result, GError** error) {
            secret_service_delete_item_dbus_path_finish(proxy.get(), result, error);
        },
        deadline);
}

std::shared_ptr<Operation> SecretServiceClient::beginUnlocking(const Place& place) {
    const char* paths[] = {place.c_str(), nullptr};
    return Operation::begin(
        [&](auto... rest) { secret_service_unlock_dbus_paths(proxy.get(), paths, rest...); });
}

std::shared_ptr<Operation> SecretServiceClient::beginMakingDefaultCollection() {
    const glib::Attributes properties(g_hash_table_new_full(
        g_str_hash, g_str_equal, nullptr,
        [](gpointer value) { const glib::Variant dropped(static_cast<GVariant*>(value)); }));
    static char labelKey[] = "org.freedesktop.Secret.Collection.Label";
    g_hash_table_insert(properties.get(), labelKey, g_variant_ref_sink(g_variant_new_string("Default")));
    return Operation::begin([&](auto... rest) {
        secret_service_create_collection_dbus_path(proxy.get(), properties.get(), defaultAlias,
                                                   SECRET_COLLECTION_CREATE_NONE, rest...);
    });
}

SecretServiceClient::Answer SecretServiceClient::endUnlocking(const Operation& operation) {
    glib::Error error;
    const glib::Object<GObject> service(g_async_result_get_source_object(operation.result()));
    const auto count = secret_service_unlock_dbus_paths_finish(SECRET_SERVICE(service.get()),
                                                               operation.result(), nullptr, glib::Out(error));
    if (error) fail(*error, failureOfCall(*error));
    return error ? Answer::failed : count > 0 ? Answer::granted : Answer::refused;
}

SecretServiceClient::Answer SecretServiceClient::endMakingDefaultCollection(const Operation& operation) {
    glib::Error error;
    const glib::Object<GObject> service(g_async_result_get_source_object(operation.result()));
    const glib::Text path(secret_service_create_collection_dbus_path_finish(
        SECRET_SERVICE(service.get()), operation.result(), glib::Out(error)));
    if (error) fail(*error, failureOfCall(*error));
    // A dismissed question comes back with the path that stands for none.
    const bool isMade = path && std::string_view(path.get()) != "/";
    return error ? Answer::failed : isMade ? Answer::granted : Answer::refused;
}

bool SecretServiceClient::call(const Operation::Start& start,
                               const std::function<void(GAsyncResult*, GError**)>& finish,
                               Deadline deadline) {
    const auto operation = context.perform(start, deadline);
    glib::Error error;
    if (operation)
        finish(operation->result(), glib::Out(error));
    else
        error.reset(g_error_new_literal(G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "no answer in time"));
    if (error) {
        fail(*error, failureOfCall(*error));
        return false;
    }
    failure_ = {errSecIO, SecretServiceKeychain::Contact::answered};
    return true;
}

void SecretServiceClient::fail(const GError& error, SecretServiceFailure failure) {
    failure_ = failure;
    // A service that was started anew knows nothing of the session: the next call opens another.
    if (failure.status != errSecInteractionNotAllowed) proxy = nullptr;
    // Each save reads the key: the same reason is said once.
    if (std::exchange(lastMessage, error.message) != error.message)
        log.error(std::string("Secret Service: ") + error.message);
}

}  // namespace vellumix::linux_desktop
