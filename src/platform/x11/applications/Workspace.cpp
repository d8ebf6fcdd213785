#include "platform/x11/applications/Workspace.h"

#include <unistd.h>

#include <cstring>

#include "platform/x11/applications/FocusedWindow.h"

namespace vellumix::x11 {

namespace {

constexpr std::uint32_t unitsOfText = 256;
/// Until the keys of a paste are out and have been read.
constexpr double focusSeconds = 1.5;

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

Workspace::Workspace(Connection& connection, WindowManager& windowManager, DesktopFiles desktopFiles,
                     ApplicationChords chords)
    : connection(connection),
      windowManager(windowManager),
      desktopFiles(std::move(desktopFiles)),
      chords(std::move(chords)) {
    activeChanges = windowManager.observe([this] { followActiveWindow(); });
    followActiveWindow();
}

std::optional<NSRunningApplication> Workspace::frontmostApplication() const {
    lookAgain();
    if (!front) return std::nullopt;
    NSRunningApplication application{
        .processIdentifier = front->processIdentifier, .bundleIdentifier = {}, .window = front->window};
    const auto names = frontNames();
    if (!names.empty()) application.bundleIdentifier = names.front();
    if (chords.isFileManager(names)) application.kindIdentifier = fileManagerIdentifier;
    return application;
}

std::vector<std::string> Workspace::frontNames() const {
    std::vector<std::string> names;
    if (!front) return names;
    // Looked up here and not when the window came to the front: most windows come and go without a question.
    if (!front->desktopFile.empty()) {
        names.push_back(front->desktopFile);
    } else if (front->windowClass.empty()) {
        return names;
    } else if (const auto id = desktopFiles.idForClass(front->windowClass)) {
        names.push_back(*id);
    }
    if (!front->windowClass.empty()) names.push_back(front->windowClass);
    return names;
}

const std::vector<ApplicationChord>& Workspace::frontChords(ApplicationChords::Meaning meaning) const {
    lookAgain();
    return chords.chordsFor(meaning, frontNames());
}

bool Workspace::activate(const NSRunningApplication& application) {
    if (application.window == XCB_WINDOW_NONE || !applicationOf(application.window)) return false;
    if (!windowManager.isRunning()) {
        giveFocus(application.window);
    } else {
        // As a pager asks: the user chose the window by what he did before.
        windowManager.activate(application.window, true);
    }
    return true;
}

void Workspace::giveFocus(xcb_window_t window) {
    auto* const xcb = connection.xcb();
    const auto focused = FocusedWindow::read(connection);
    if (focused.window == window) return;
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(xcb, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_set_input_focus(xcb, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    if (!focused.followsPointer) return;
    // The window keeps the focus for as long as a paste takes: whose keys follow the pointer has nobody who
    // would give it back.
    focusEnd = connection.runLoop().oneShotTimer(focusSeconds, [this, window] {
        if (FocusedWindow::read(connection).window != window) return;
        xcb_set_input_focus(connection.xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                            XCB_CURRENT_TIME);
    });
}

void Workspace::followActiveWindow() {
    if (windowManager.isRunning()) setFront(windowManager.activeWindow());
}

void Workspace::lookAgain() const {
    // What was announced before this question counts.
    windowManager.catchUp();
    if (!windowManager.isRunning()) readFocus();
}

void Workspace::readFocus() const {
    const auto focused = FocusedWindow::read(connection).window;
    if (!connection.isOurs(focused)) setFront(focused);
}

void Workspace::setFront(xcb_window_t window) const {
    const auto front = window == XCB_WINDOW_NONE ? std::nullopt : applicationOf(window);
    if (!front || front->processIdentifier != getpid()) this->front = front;
}

std::optional<Workspace::Application> Workspace::applicationOf(xcb_window_t window) const {
    const auto& atoms = connection.atoms();
    auto* const xcb = connection.xcb();
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
    application.window = window;
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
