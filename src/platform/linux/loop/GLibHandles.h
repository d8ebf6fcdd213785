#pragma once

#include <gio/gio.h>

#include <memory>
#include <utility>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of GLib and GIO that this folder owns, one a line.
namespace vellumix::linux_desktop::glib {

template <class T>
using Object = std::unique_ptr<T, HandleDeleter<g_object_unref>>;

struct EndSource {
    void operator()(GSource* source) const {
        g_source_destroy(source);
        g_source_unref(source);
    }
};
struct EndPool {
    /// Drops what waits and returns after what runs.
    void operator()(GThreadPool* pool) const { g_thread_pool_free(pool, TRUE, TRUE); }
};

struct CloseConnection {
    /// The bus frees the names of the connection with it.
    void operator()(GDBusConnection* connection) const {
        g_dbus_connection_close(connection, nullptr, nullptr, nullptr);
        g_object_unref(connection);
    }
};
struct PopContext {
    void operator()(GMainContext* context) const { g_main_context_pop_thread_default(context); }
};

/// Detached from its context when it goes.
using Source = std::unique_ptr<GSource, EndSource>;
using ThreadPool = std::unique_ptr<GThreadPool, EndPool>;
using Connection = std::unique_ptr<GDBusConnection, CloseConnection>;
using Context = std::unique_ptr<GMainContext, HandleDeleter<g_main_context_unref>>;
/// A context that is the thread's default one until this goes.
using PushedContext = std::unique_ptr<GMainContext, PopContext>;
using NodeInfo = std::unique_ptr<GDBusNodeInfo, HandleDeleter<g_dbus_node_info_unref>>;
using Variant = std::unique_ptr<GVariant, HandleDeleter<g_variant_unref>>;
using DateTime = std::unique_ptr<GDateTime, HandleDeleter<g_date_time_unref>>;
using Text = std::unique_ptr<char, HandleDeleter<g_free>>;
using KeyFile = std::unique_ptr<GKeyFile, HandleDeleter<g_key_file_unref>>;
using TextList = std::unique_ptr<char*, HandleDeleter<g_strfreev>>;
using Attributes = std::unique_ptr<GHashTable, HandleDeleter<g_hash_table_unref>>;
using MarkupContext = std::unique_ptr<GMarkupParseContext, HandleDeleter<g_markup_parse_context_free>>;
using Error = std::unique_ptr<GError, HandleDeleter<g_error_free>>;

/// A watch for the owner of a name on a bus.
class NameWatch {
public:
    NameWatch() = default;
    explicit NameWatch(guint number) : number(number) {}
    NameWatch(NameWatch&& other) noexcept : number(std::exchange(other.number, 0)) {}
    NameWatch& operator=(NameWatch&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~NameWatch() {
        if (number) g_bus_unwatch_name(number);
    }

private:
    guint number = 0;
};

/// Something on a connection that has a number and is ended by it. The connection must outlive it.
template <auto End>
class OnConnection {
public:
    OnConnection() = default;
    OnConnection(GDBusConnection* connection, guint number) : connection(connection), number(number) {}
    OnConnection(OnConnection&& other) noexcept
        : connection(other.connection), number(std::exchange(other.number, 0)) {}
    OnConnection& operator=(OnConnection&& other) noexcept {
        std::swap(connection, other.connection);
        std::swap(number, other.number);
        return *this;
    }
    ~OnConnection() {
        if (number) End(connection, number);
    }
    explicit operator bool() const { return number != 0; }

private:
    GDBusConnection* connection = nullptr;
    guint number = 0;
};

/// A filter of messages. It may still be running when this has gone.
using MessageFilter = OnConnection<g_dbus_connection_remove_filter>;
/// A subscription to signals.
using Subscription = OnConnection<g_dbus_connection_signal_unsubscribe>;

/// An object that answers.
class Registration : public OnConnection<g_dbus_connection_unregister_object> {
public:
    Registration() = default;
    Registration(GDBusConnection* connection, const char* path, GDBusInterfaceInfo* interface,
                 const GDBusInterfaceVTable* table, gpointer data)
        : OnConnection(connection, g_dbus_connection_register_object(connection, path, interface, table, data,
                                                                     nullptr, nullptr)) {}
};

/// Passes a handle to a call that sets a pointer, for the length of the full expression: `Out(error)`.
template <class Handle>
class Out {
public:
    explicit Out(Handle& handle) : handle(handle) {}
    ~Out() { handle.reset(raw); }
    Out(const Out&) = delete;
    Out& operator=(const Out&) = delete;
    operator typename Handle::pointer *() { return &raw; }

private:
    Handle& handle;
    typename Handle::pointer raw = nullptr;
};

}  // namespace vellumix::linux_desktop::glib
