#include "platform/linux/tray/DBusMenu.h"

#include <algorithm>
#include <string>
#include <utility>

namespace vellumix::linux_desktop {

namespace {

constexpr auto interfaceName = "com.canonical.dbusmenu";
constexpr gint32 rootId = 0;

constexpr auto description = R"(<node><interface name='com.canonical.dbusmenu'>
<property name='Version' type='u' access='read'/>
<property name='TextDirection' type='s' access='read'/>
<property name='Status' type='s' access='read'/>
<property name='IconThemePath' type='as' access='read'/>
<method name='GetLayout'>
  <arg name='parentId' type='i' direction='in'/><arg name='recursionDepth' type='i' direction='in'/>
  <arg name='propertyNames' type='as' direction='in'/>
  <arg name='revision' type='u' direction='out'/><arg name='layout' type='(ia{sv}av)' direction='out'/>
</method>
<method name='GetGroupProperties'>
  <arg name='ids' type='ai' direction='in'/><arg name='propertyNames' type='as' direction='in'/>
  <arg name='properties' type='a(ia{sv})' direction='out'/>
</method>
<method name='GetProperty'>
  <arg name='id' type='i' direction='in'/><arg name='name' type='s' direction='in'/>
  <arg name='value' type='v' direction='out'/>
</method>
<method name='Event'>
  <arg name='id' type='i' direction='in'/><arg name='eventId' type='s' direction='in'/>
  <arg name='data' type='v' direction='in'/><arg name='timestamp' type='u' direction='in'/>
</method>
<method name='EventGroup'>
  <arg name='events' type='a(isvu)' direction='in'/><arg name='idErrors' type='ai' direction='out'/>
</method>
<method name='AboutToShow'>
  <arg name='id' type='i' direction='in'/><arg name='needUpdate' type='b' direction='out'/>
</method>
<method name='AboutToShowGroup'>
  <arg name='ids' type='ai' direction='in'/>
  <arg name='updatesNeeded' type='ai' direction='out'/><arg name='idErrors' type='ai' direction='out'/>
</method>
<signal name='ItemsPropertiesUpdated'>
  <arg name='updatedProps' type='a(ia{sv})'/><arg name='removedProps' type='a(ias)'/>
</signal>
<signal name='LayoutUpdated'><arg name='revision' type='u'/><arg name='parent' type='i'/></signal>
<signal name='ItemActivationRequested'><arg name='id' type='i'/><arg name='timestamp' type='u'/></signal>
</interface></node>)";

/// A single underscore would mark the letter behind it as the line's access key.
std::string label(const std::string& title) {
    std::string escaped;
    for (const char c : title) escaped.append(c == '_' ? 2 : 1, c);
    return escaped;
}

std::vector<gint32> numbers(GVariant* arguments, gsize index) {
    const glib::Variant list(g_variant_get_child_value(arguments, index));
    std::vector<gint32> found(g_variant_n_children(list.get()));
    for (gsize each = 0; each < found.size(); ++each)
        g_variant_get_child(list.get(), each, "i", &found[each]);
    return found;
}

std::vector<std::string> names(GVariant* arguments, gsize index) {
    const glib::Variant list(g_variant_get_child_value(arguments, index));
    std::vector<std::string> found;
    for (gsize each = 0; each < g_variant_n_children(list.get()); ++each) {
        const char* name = nullptr;
        g_variant_get_child(list.get(), each, "&s", &name);
        found.emplace_back(name);
    }
    return found;
}

GVariant* variantOf(const std::vector<gint32>& numbers) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_INT32, numbers.data(), numbers.size(), sizeof(gint32));
}

void refuse(BusCall& call) {
    call.refuse("org.freedesktop.DBus.Error.InvalidArgs", "The menu has no such line or property");
}

}  // namespace

DBusMenu::DBusMenu(RunLoop& runLoop, GDBusConnection* connection, const char* path)
    : connection(connection),
      path(path),
      object(runLoop, connection, path, description,
             {.answer = [this](std::string_view method, GVariant* arguments,
                               BusCall& call) { answer(method, arguments, call); },
              .property = property}) {}

void DBusMenu::setEntries(std::vector<StatusMenuEntry> entries) {
    // Numbers are never used again: a click that is on its way must not meet another line.
    firstId += static_cast<gint32>(this->entries.size());
    this->entries = std::move(entries);
    ++revision;
    g_dbus_connection_emit_signal(connection, nullptr, path, interfaceName, "LayoutUpdated",
                                  g_variant_new("(ui)", revision, rootId), nullptr);
}

void DBusMenu::answer(std::string_view method, GVariant* arguments, BusCall& call) {
    if (method == "GetLayout") return answerLayout(arguments, call);
    if (method == "GetGroupProperties") return answerGroup(arguments, call);
    if (method == "GetProperty") return answerProperty(arguments, call);
    if (method == "Event") return answerEvent(arguments, call);
    if (method == "EventGroup") return answerEventGroup(arguments, call);
    // What is shown is always up to date.
    if (method == "AboutToShow") {
        gint32 id = rootId;
        g_variant_get(arguments, "(i)", &id);
        return isKnown(id) ? call.reply(g_variant_new("(b)", FALSE)) : refuse(call);
    }
    auto ids = numbers(arguments, 0);
    std::erase_if(ids, [this](gint32 id) { return isKnown(id); });
    call.reply(g_variant_new("(@ai@ai)", variantOf({}), variantOf(ids)));
}

void DBusMenu::answerLayout(GVariant* arguments, BusCall& call) {
    gint32 parent = rootId;
    gint32 depth = 0;
    g_variant_get(arguments, "(iias)", &parent, &depth, nullptr);
    if (!isKnown(parent)) return refuse(call);
    const auto wanted = names(arguments, 2);

    GVariantBuilder children;
    g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
    // Any negative depth asks for all.
    if (parent == rootId && depth != 0) {
        for (gint32 id = firstId; isKnown(id); ++id) {
            g_variant_builder_add(&children, "v",
                                  g_variant_new("(i@a{sv}@av)", id, properties(id, wanted),
                                                g_variant_new_array(G_VARIANT_TYPE_VARIANT, nullptr, 0)));
        }
    }
    call.reply(g_variant_new("(u(i@a{sv}av))", revision, parent, properties(parent, wanted), &children));
}

void DBusMenu::answerGroup(GVariant* arguments, BusCall& call) {
    auto ids = numbers(arguments, 0);
    const auto wanted = names(arguments, 1);
    if (ids.empty()) {
        ids.push_back(rootId);
        for (gint32 id = firstId; isKnown(id); ++id) ids.push_back(id);
    }
    GVariantBuilder found;
    g_variant_builder_init(&found, G_VARIANT_TYPE("a(ia{sv})"));
    for (const auto id : ids) {
        if (isKnown(id)) g_variant_builder_add(&found, "(i@a{sv})", id, properties(id, wanted));
    }
    call.reply(g_variant_new("(a(ia{sv}))", &found));
}

void DBusMenu::answerProperty(GVariant* arguments, BusCall& call) {
    gint32 id = rootId;
    const char* name = nullptr;
    g_variant_get(arguments, "(i&s)", &id, &name);
    if (!isKnown(id)) return refuse(call);
    const glib::Variant all(g_variant_ref_sink(properties(id, {})));
    const glib::Variant value(g_variant_lookup_value(all.get(), name, nullptr));
    value ? call.reply(g_variant_new("(v)", value.get())) : refuse(call);
}

void DBusMenu::answerEvent(GVariant* arguments, BusCall& call) {
    gint32 id = rootId;
    const char* event = nullptr;
    g_variant_get(arguments, "(i&svu)", &id, &event, nullptr, nullptr);
    if (!isKnown(id)) return refuse(call);
    const auto action = actionOf(id, event);
    // The reply goes first: the action may end this menu.
    call.reply(nullptr);
    if (action) action();
}

void DBusMenu::answerEventGroup(GVariant* arguments, BusCall& call) {
    const glib::Variant events(g_variant_get_child_value(arguments, 0));
    const auto count = g_variant_n_children(events.get());
    std::vector<gint32> unknown;
    std::vector<Work> actions;
    for (gsize each = 0; each < count; ++each) {
        gint32 id = rootId;
        const char* event = nullptr;
        g_variant_get_child(events.get(), each, "(i&svu)", &id, &event, nullptr, nullptr);
        if (!isKnown(id)) unknown.push_back(id);
        if (auto action = actionOf(id, event)) actions.push_back(std::move(action));
    }
    if (count > 0 && unknown.size() == count) return refuse(call);
    call.reply(g_variant_new("(@ai)", variantOf(unknown)));
    for (const auto& action : actions) action();
}

GVariant* DBusMenu::property(std::string_view name) {
    if (name == "Version") return g_variant_new_uint32(3);
    if (name == "TextDirection") return g_variant_new_string("ltr");
    if (name == "Status") return g_variant_new_string("normal");
    return g_variant_new_strv(nullptr, 0);
}

bool DBusMenu::isKnown(gint32 id) const { return id == rootId || entry(id); }

const StatusMenuEntry* DBusMenu::entry(gint32 id) const {
    if (id < firstId || static_cast<std::size_t>(id - firstId) >= entries.size()) return nullptr;
    return &entries[static_cast<std::size_t>(id - firstId)];
}

Work DBusMenu::actionOf(gint32 id, std::string_view event) const {
    const auto* chosen = entry(id);
    return chosen && chosen->isEnabled && event == "clicked" ? chosen->action : nullptr;
}

GVariant* DBusMenu::properties(gint32 id, const std::vector<std::string>& wanted) const {
    GVariantBuilder found;
    g_variant_builder_init(&found, G_VARIANT_TYPE("a{sv}"));
    const auto add = [&](const char* name, GVariant* floating) {
        const glib::Variant value(g_variant_ref_sink(floating));
        if (wanted.empty() || std::ranges::find(wanted, name) != wanted.end())
            g_variant_builder_add(&found, "{sv}", name, value.get());
    };
    if (id == rootId) {
        add("children-display", g_variant_new_string("submenu"));
    } else if (entry(id)->kind == StatusMenuEntry::Kind::separator) {
        add("type", g_variant_new_string("separator"));
    } else {
        add("label", g_variant_new_string(label(entry(id)->title).c_str()));
        add("enabled", g_variant_new_boolean(entry(id)->isEnabled));
    }
    return g_variant_builder_end(&found);
}

}  // namespace vellumix::linux_desktop
