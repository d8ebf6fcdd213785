#include "platform/linux/bus/DesktopNotifications.h"

#include <memory>

#include "platform/linux/bus/SessionBus.h"

namespace vellumix::linux_desktop {

namespace {

struct Message {
    std::string title;
    std::string body;
};

GVariant* argumentsOf(const Message& message) {
    constexpr int inTheServersOwnTime = -1;
    return g_variant_new("(susssasa{sv}i)", message.title.c_str(), 0, "", message.title.c_str(),
                         message.body.c_str(), nullptr, nullptr, inTheServersOwnTime);
}

}  // namespace

void DesktopNotifications::show(const std::string& title, const std::string& body) {
    const auto address = sessionBusAddress();
    if (address.empty()) return;
    g_dbus_connection_new_for_address(
        address.c_str(), busConnectionFlags, nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
            const std::unique_ptr<Message> message(static_cast<Message*>(data));
            auto* const bus = g_dbus_connection_new_for_address_finish(result, nullptr);
            if (!bus) return;
            g_dbus_connection_call(
                bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                "org.freedesktop.Notifications", "Notify", argumentsOf(*message), nullptr,
                G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                [](GObject* source, GAsyncResult* answer, gpointer) {
                    // It was held until the message was out.
                    const glib::Connection connection(G_DBUS_CONNECTION(source));
                    const glib::Variant reply(
                        g_dbus_connection_call_finish(connection.get(), answer, nullptr));
                },
                nullptr);
        },
        std::make_unique<Message>(Message{title, body}).release());
}

}  // namespace vellumix::linux_desktop
