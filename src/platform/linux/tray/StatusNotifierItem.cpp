#include "platform/linux/tray/StatusNotifierItem.h"

#include <unistd.h>

#include <string_view>
#include <utility>

#include "platform/linux/bus/BusObject.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/tray/DBusMenu.h"
#include "platform/linux/tray/StatusIcon.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto itemPath = "/StatusNotifierItem";
constexpr auto itemInterface = "org.kde.StatusNotifierItem";
constexpr auto menuPath = "/StatusNotifierItem/Menu";
constexpr auto watcherName = "org.kde.StatusNotifierWatcher";
constexpr auto watcherPath = "/StatusNotifierWatcher";

constexpr auto description = R"(<node><interface name='org.kde.StatusNotifierItem'>
<property name='Category' type='s' access='read'/>
<property name='Id' type='s' access='read'/>
<property name='Title' type='s' access='read'/>
<property name='Status' type='s' access='read'/>
<property name='WindowId' type='i' access='read'/>
<property name='IconThemePath' type='s' access='read'/>
<property name='IconName' type='s' access='read'/>
<property name='IconPixmap' type='a(iiay)' access='read'/>
<property name='OverlayIconName' type='s' access='read'/>
<property name='OverlayIconPixmap' type='a(iiay)' access='read'/>
<property name='AttentionIconName' type='s' access='read'/>
<property name='AttentionIconPixmap' type='a(iiay)' access='read'/>
<property name='AttentionMovieName' type='s' access='read'/>
<property name='ToolTip' type='(sa(iiay)ss)' access='read'/>
<property name='ItemIsMenu' type='b' access='read'/>
<property name='Menu' type='o' access='read'/>
<method name='ContextMenu'><arg name='x' type='i' direction='in'/><arg name='y' type='i' direction='in'/></method>
<method name='Activate'><arg name='x' type='i' direction='in'/><arg name='y' type='i' direction='in'/></method>
<method name='SecondaryActivate'><arg name='x' type='i' direction='in'/><arg name='y' type='i' direction='in'/></method>
<method name='Scroll'><arg name='delta' type='i' direction='in'/><arg name='orientation' type='s' direction='in'/></method>
<signal name='NewTitle'/>
<signal name='NewIcon'/>
<signal name='NewAttentionIcon'/>
<signal name='NewOverlayIcon'/>
<signal name='NewToolTip'/>
<signal name='NewStatus'><arg name='status' type='s'/></signal>
</interface></node>)";

GVariant* pixmaps(const std::vector<StatusIcon>& icons) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(iiay)"));
    for (const auto& icon : icons) {
        g_variant_builder_add(
            &builder, "(ii@ay)", icon.side, icon.side,
            g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, icon.pixels.data(), icon.pixels.size(), 1));
    }
    return g_variant_builder_end(&builder);
}

/// As the protocol forms it: the process has this one item.
std::string standardName() { return std::string(itemInterface) + '-' + std::to_string(getpid()) + "-1"; }

}  // namespace

struct StatusNotifierItem::State : std::enable_shared_from_this<State> {
    explicit State(RunLoop& loop) : runLoop(loop) {}

    RunLoop& runLoop;
    std::string symbolName;
    std::string title;
    Work action;
    /// What the menu shows as soon as there is a connection.
    std::vector<StatusMenuEntry> entries;
    WatcherHandler onWatcher;
    /// Under which the item registers.
    std::string serviceName;

    glib::Connection connection;
    std::unique_ptr<BusObject> object;
    std::unique_ptr<DBusMenu> menu;
    glib::NameWatch watcher;
    bool hasWatcher = false;
    bool isUpdateDue = false;

    ~State();
    void connect();
    void start(glib::Connection made);
    void watch();
    void watcherChanged(bool isThere);
    void registerWithWatcher();
    void tell(bool hasWatcher) const {
        if (onWatcher) onWatcher(hasWatcher);
    }
    void answer(std::string_view method, BusCall& call);
    GVariant* property(std::string_view name) const;
    void emit(const char* signal);

    /// Shares the state with a callback of GIO for as long as somebody else holds it too.
    gpointer weakly() { return std::make_unique<std::weak_ptr<State>>(weak_from_this()).release(); }
    static std::shared_ptr<State> lock(gpointer data) {
        const std::unique_ptr<std::weak_ptr<State>> weak(static_cast<std::weak_ptr<State>*>(data));
        return weak->lock();
    }
};

StatusNotifierItem::State::~State() {
    if (!connection) return;
    watcher = {};
    object.reset();
    menu.reset();
    // The answer to the click that ends the program is still to leave.
    PrivateContext context;
    closeAfterFlush(context, connection.get());
}

void StatusNotifierItem::State::connect() {
    const auto address = sessionBusAddress();
    if (address.empty()) {
        if (!onWatcher) return;
        return runLoop.post([weak = weak_from_this()] {
            if (const auto state = weak.lock()) state->tell(false);
        });
    }
    g_dbus_connection_new_for_address(
        address.c_str(), busConnectionFlags, nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
            glib::Connection made(g_dbus_connection_new_for_address_finish(result, nullptr));
            const auto state = lock(data);
            if (!state) return;
            made ? state->start(std::move(made)) : state->tell(false);
        },
        weakly());
}

void StatusNotifierItem::State::start(glib::Connection made) {
    connection = std::move(made);
    object = std::make_unique<BusObject>(
        runLoop, connection.get(), itemPath, description,
        BusObject::Handlers{
            .answer = [this](std::string_view method, GVariant*, BusCall& call) { answer(method, call); },
            .property = [this](std::string_view name) { return property(name); }});
    menu = std::make_unique<DBusMenu>(runLoop, connection.get(), menuPath);
    menu->setEntries(std::move(entries));

    g_dbus_connection_call(
        connection.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", standardName().c_str(), doNotQueue), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            const auto state = lock(data);
            const glib::Variant reply(
                g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
            if (!state) return;
            guint32 outcome = 0;
            if (reply) g_variant_get(reply.get(), "(u)", &outcome);
            // A sandbox may refuse the name, and another process namespace may have the same number in use:
            // watchers take the connection's own name as well.
            state->serviceName = outcome == isPrimaryOwner
                                     ? standardName()
                                     : g_dbus_connection_get_unique_name(state->connection.get());
            state->watch();
        },
        weakly());
}

void StatusNotifierItem::State::watch() {
    watcher = glib::NameWatch(g_bus_watch_name_on_connection(
        connection.get(), watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, const gchar*, gpointer state) {
            static_cast<State*>(state)->watcherChanged(true);
        },
        [](GDBusConnection*, const gchar*, gpointer state) {
            static_cast<State*>(state)->watcherChanged(false);
        },
        this, nullptr));
}

void StatusNotifierItem::State::watcherChanged(bool isThere) {
    // Any program can take the name and give it up again, as often as it likes: what follows from it is done
    // once for all changes that have come until then.
    hasWatcher = isThere;
    if (std::exchange(isUpdateDue, true)) return;
    runLoop.postBehind([weak = weak_from_this()] {
        const auto state = weak.lock();
        if (!state) return;
        state->isUpdateDue = false;
        if (state->hasWatcher) state->registerWithWatcher();
        state->tell(state->hasWatcher);
    });
}

void StatusNotifierItem::State::registerWithWatcher() {
    // Without a callback no reply is asked for, and a watcher that hangs keeps nothing waiting.
    g_dbus_connection_call(connection.get(), watcherName, watcherPath, watcherName,
                           "RegisterStatusNotifierItem", g_variant_new("(s)", serviceName.c_str()), nullptr,
                           G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
}

void StatusNotifierItem::State::answer(std::string_view method, BusCall& call) {
    const bool isActivation = method == "Activate";
    // Hosts show the menu themselves when they learn that the item doesn't.
    if (method == "ContextMenu" || (isActivation && !action)) {
        call.refuse("org.freedesktop.DBus.Error.NotSupported", "The item has a menu for this");
        return;
    }
    // The reply goes first: the action may end this item.
    const auto handler = isActivation ? action : nullptr;
    call.reply(nullptr);
    if (handler) handler();
}

GVariant* StatusNotifierItem::State::property(std::string_view name) const {
    if (name == "Category") return g_variant_new_string("ApplicationStatus");
    if (name == "Id") return g_variant_new_string("vellumix");
    if (name == "Title") return g_variant_new_string(title.c_str());
    if (name == "Status") return g_variant_new_string("Active");
    if (name == "WindowId") return g_variant_new_int32(0);
    if (name == "IconPixmap") return pixmaps(statusIcons(symbolName));
    if (name == "OverlayIconPixmap" || name == "AttentionIconPixmap") return pixmaps({});
    if (name == "ToolTip") return g_variant_new("(s@a(iiay)ss)", "", pixmaps({}), title.c_str(), "");
    if (name == "ItemIsMenu") return g_variant_new_boolean(!action);
    if (name == "Menu") return g_variant_new_object_path(menuPath);
    return g_variant_new_string("");
}

void StatusNotifierItem::State::emit(const char* signal) {
    if (connection)
        g_dbus_connection_emit_signal(connection.get(), nullptr, itemPath, itemInterface, signal, nullptr,
                                      nullptr);
}

StatusNotifierItem::StatusNotifierItem(RunLoop& runLoop, WatcherHandler onWatcher)
    : state(std::make_shared<State>(runLoop)) {
    state->onWatcher = std::move(onWatcher);
    state->connect();
}
StatusNotifierItem::~StatusNotifierItem() = default;

void StatusNotifierItem::setImage(const std::string& symbolName,
                                  const std::string& accessibilityDescription) {
    const bool isOtherSymbol = std::exchange(state->symbolName, symbolName) != symbolName;
    const bool isOtherTitle =
        std::exchange(state->title, accessibilityDescription) != accessibilityDescription;
    if (isOtherSymbol) state->emit("NewIcon");
    if (!isOtherTitle) return;
    state->emit("NewTitle");
    state->emit("NewToolTip");
}

void StatusNotifierItem::setAction(Work action) {
    state->action = std::move(action);
    if (!state->connection) return;
    // The protocol has no signal of its own for this one.
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&changed, "{sv}", "ItemIsMenu", state->property("ItemIsMenu"));
    g_dbus_connection_emit_signal(
        state->connection.get(), nullptr, itemPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
        g_variant_new("(sa{sv}@as)", itemInterface, &changed, g_variant_new_strv(nullptr, 0)), nullptr);
}

void StatusNotifierItem::setMenu(std::vector<StatusMenuEntry> entries) {
    if (state->menu) return state->menu->setEntries(std::move(entries));
    state->entries = std::move(entries);
}

}  // namespace vellumix::linux_desktop
