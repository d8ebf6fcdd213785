#include "platform/x11/windows/WindowHints.h"

#include <unistd.h>

#include <array>

namespace vellumix::x11 {

namespace {

using Kind = NSWindow::Kind;

using SizeHints = std::array<std::uint32_t, 18>;
enum SizeHint : std::uint32_t { userPosition = 1, minimum = 16, maximum = 32, gravity = 512 };

void setText(Connection& connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
             std::string_view text) {
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
}

void setNumbers(Connection& connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                std::span<const std::uint32_t> numbers) {
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(numbers.size()), numbers.data());
}

xcb_atom_t typeOf(const Atoms& atoms, Kind kind) {
    switch (kind) {
        case Kind::panel:
            return atoms.windowTypeUtility;
        case Kind::menu:
            return atoms.windowTypePopUpMenu;
        case Kind::toolTip:
            return atoms.windowTypeToolTip;
        case Kind::alert:
            return atoms.windowTypeDialog;
        case Kind::titled:
            break;
    }
    return atoms.windowTypeNormal;
}

}  // namespace

void describeWindow(Connection& connection, xcb_window_t window, const NSWindow::Options& options) {
    const auto& atoms = connection.atoms();
    const std::uint32_t type[] = {typeOf(atoms, options.kind)};
    setNumbers(connection, window, atoms.windowType, XCB_ATOM_ATOM, type);
    constexpr char names[] = "vellumix\0Vellumix";
    setText(connection, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, {names, sizeof names});
    std::array<char, 256> host{};
    if (gethostname(host.data(), host.size() - 1) == 0) {
        setText(connection, window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host.data());
    }
    const std::uint32_t process[] = {static_cast<std::uint32_t>(getpid())};
    setNumbers(connection, window, atoms.windowProcess, XCB_ATOM_CARDINAL, process);

    const std::string title = options.title.string().empty() ? "Vellumix" : options.title.string();
    setText(connection, window, atoms.windowName, atoms.utf8String, title);
    setText(connection, window, atoms.windowIconName, atoms.utf8String, title);
    if (options.kind != Kind::alert && options.kind != Kind::titled) return;
    const std::uint32_t protocols[] = {atoms.deleteWindow, atoms.windowPing};
    setNumbers(connection, window, atoms.protocols, XCB_ATOM_ATOM, protocols);
    if (options.kind == Kind::alert) {
        const std::uint32_t states[] = {atoms.windowStateAbove, atoms.windowStateModal};
        setNumbers(connection, window, atoms.windowState, XCB_ATOM_ATOM, states);
        // A question is answered and not put away: it may be moved and closed, under a title, and has no
        // buttons for more (Motif Programmer's Reference, "MwmHints").
        enum Flag : std::uint32_t { functions = 1, decorations = 2 };
        enum Function : std::uint32_t { move = 4, close = 32 };
        enum Decoration : std::uint32_t { border = 2, title = 8 };
        const std::uint32_t hints[] = {functions | decorations, move | close, border | title, 0, 0};
        setNumbers(connection, window, atoms.motifHints, atoms.motifHints, hints);
    }
}

void fixSize(Connection& connection, xcb_window_t window, std::uint32_t width, std::uint32_t height) {
    SizeHints hints{};
    hints[0] = userPosition | minimum | maximum | gravity;
    hints[5] = hints[7] = width;
    hints[6] = hints[8] = height;
    hints[17] = XCB_GRAVITY_STATIC;
    setNumbers(connection, window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, hints);
}

void askForSize(Connection& connection, xcb_window_t window, std::uint32_t width, std::uint32_t height) {
    SizeHints hints{};
    hints[0] = minimum;
    hints[5] = width;
    hints[6] = height;
    setNumbers(connection, window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, hints);
}

}  // namespace vellumix::x11
