#include "platform/x11/Workspace.h"

#include <cstring>

namespace vellumix::x11 {

namespace {

constexpr std::uint8_t sentMask = 0x7F;
constexpr std::uint32_t unitsOfText = 256;

/// "/usr/share/applications/org.gnome.gedit.desktop" and "org.gnome.gedit" give "org.gnome.gedit".
std::string desktopFileID(std::string_view name) {
    constexpr std::string_view extension = ".desktop";
    name.remove_prefix(name.rfind('/') + 1);
    if (name.ends_with(extension)) name.remove_suffix(extension.size());
    return std::string(name);
}

std::string_view textOf(const xcb_get_property_reply_t* reply) {
    if (!reply || reply->format != 8) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply)),
            static_cast<std::size_t>(xcb_get_property_value_length(reply))};
}

std::string_view untilNUL(std::string_view text) { return text.substr(0, text.find('\0')); }

std::uint32_t numberOf(const xcb_get_property_reply_t* reply) {
    std::uint32_t number = 0;
    if (reply && reply->format == 32 && reply->value_len > 0) {
        std::memcpy(&number, xcb_get_property_value(reply), sizeof number);
    }
    return number;
}

/// The class is the second of the two names in WM_CLASS.
std::string classOf(std::string_view names) {
    const auto instance = untilNUL(names);
    if (instance.size() == names.size()) return std::string(instance);
    return std::string(untilNUL(names.substr(instance.size() + 1)));
}

}  // namespace

Workspace::Workspace(Connection& connection, DesktopFiles desktopFiles)
    : _connection(connection), _desktopFiles(std::move(desktopFiles)) {
    _rootEvents = connection.observeForeign(connection.root(), [this](const auto& event) {
        if ((event.response_type & sentMask) != XCB_PROPERTY_NOTIFY) return;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        if (change.atom == _connection.atoms().activeWindow) readActiveWindow();
    });
    readActiveWindow();
}

std::optional<NSRunningApplication> Workspace::frontmostApplication() const {
    if (!_front) return std::nullopt;
    NSRunningApplication application{.processIdentifier = _front->processIdentifier, .bundleIdentifier = {}};
    // Looked up here and not when the window came to the front: most windows come and go without a question.
    if (!_front->desktopFile.empty()) {
        application.bundleIdentifier = _front->desktopFile;
    } else if (!_front->windowClass.empty()) {
        application.bundleIdentifier =
            _desktopFiles.idForClass(_front->windowClass).value_or(_front->windowClass);
    }
    return application;
}

void Workspace::readActiveWindow() {
    const auto reply = xcb::await<xcb_get_property_reply>(
        _connection.xcb(), xcb_get_property(_connection.xcb(), 0, _connection.root(),
                                            _connection.atoms().activeWindow, XCB_ATOM_WINDOW, 0, 1));
    const auto window = numberOf(reply.get());
    _front = window == XCB_WINDOW_NONE ? std::nullopt : applicationOf(window);
}

std::optional<Workspace::Application> Workspace::applicationOf(xcb_window_t window) {
    const auto& atoms = _connection.atoms();
    auto* const xcb = _connection.xcb();
    const auto ask = [&](xcb_atom_t property) {
        return xcb_get_property(xcb, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, unitsOfText);
    };
    const xcb_atom_t idProperties[] = {atoms.gtkApplicationID, atoms.kdeDesktopFile, atoms.bamfDesktopFile};
    const auto process = ask(atoms.windowProcess);
    const auto windowClass = ask(XCB_ATOM_WM_CLASS);
    xcb_get_property_cookie_t ids[std::size(idProperties)];
    for (std::size_t at = 0; at < std::size(ids); ++at) ids[at] = ask(idProperties[at]);

    const auto processReply = xcb::await<xcb_get_property_reply>(xcb, process);
    const auto classReply = xcb::await<xcb_get_property_reply>(xcb, windowClass);
    Application application;
    application.processIdentifier = static_cast<int>(numberOf(processReply.get()));
    application.windowClass = classOf(textOf(classReply.get()));
    for (const auto cookie : ids) {
        const auto reply = xcb::await<xcb_get_property_reply>(xcb, cookie);
        const auto id = desktopFileID(untilNUL(textOf(reply.get())));
        if (application.desktopFile.empty()) application.desktopFile = id;
    }
    // A window that has gone answers with errors.
    return processReply ? std::optional(std::move(application)) : std::nullopt;
}

}  // namespace vellumix::x11
