#include "platform/x11/Atoms.h"

#include <cstdint>
#include <string_view>

#include "platform/x11/XcbHandles.h"

namespace vellumix::x11 {

namespace {

struct Entry {
    std::string_view name;
    xcb_atom_t Atoms::*atom;
};

constexpr Entry entries[] = {
    {"CLIPBOARD", &Atoms::clipboard},
    {"CLIPBOARD_MANAGER", &Atoms::clipboardManager},
    {"MANAGER", &Atoms::manager},
    {"TARGETS", &Atoms::targets},
    {"TIMESTAMP", &Atoms::timestamp},
    {"MULTIPLE", &Atoms::multiple},
    {"SAVE_TARGETS", &Atoms::saveTargets},
    {"INCR", &Atoms::incr},
    {"ATOM_PAIR", &Atoms::atomPair},
    {"NULL", &Atoms::null},
    {"x-kde-passwordManagerHint", &Atoms::passwordManagerHint},
    {"UTF8_STRING", &Atoms::utf8String},
    {"COMPOUND_TEXT", &Atoms::compoundText},
    {"TEXT", &Atoms::text},
    {"text/plain;charset=utf-8", &Atoms::plainTextUTF8},
    {"text/plain", &Atoms::plainText},
    {"text/uri-list", &Atoms::uriList},
    {"x-special/gnome-copied-files", &Atoms::copiedFiles},
    {"application/x-kde-cutselection", &Atoms::cutSelection},
    {"VELLUMIX_CONVERSION", &Atoms::conversion},
    {"VELLUMIX_CLOCK", &Atoms::clock},
    {"_NET_ACTIVE_WINDOW", &Atoms::activeWindow},
    {"_NET_SUPPORTING_WM_CHECK", &Atoms::windowManagerCheck},
    {"_NET_WM_PID", &Atoms::windowProcess},
    {"_GTK_APPLICATION_ID", &Atoms::gtkApplicationID},
    {"_KDE_NET_WM_DESKTOP_FILE", &Atoms::kdeDesktopFile},
    {"BAMF_DESKTOP_FILE_HINT", &Atoms::bamfDesktopFile},
};

}  // namespace

AtomRequest::AtomRequest(xcb_connection_t* connection) : _connection(connection) {
    for (const auto& entry : entries) {
        _cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(entry.name.size()), entry.name.data()));
    }
}

Atoms AtomRequest::collect() {
    Atoms atoms{};
    std::size_t at = 0;
    for (const auto& entry : entries) {
        const auto reply = xcb::await<xcb_intern_atom_reply>(_connection, _cookies[at++]);
        if (reply) atoms.*entry.atom = reply->atom;
    }
    return atoms;
}

}  // namespace vellumix::x11
