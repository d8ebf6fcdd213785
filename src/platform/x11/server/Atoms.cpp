#include "platform/x11/server/Atoms.h"

#include <cstdint>
#include <string_view>

#include "platform/x11/server/XcbHandles.h"

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
    {"x-special/gnome-copied-files", &Atoms::gnomeCopiedFiles},
    {"x-special/mate-copied-files", &Atoms::mateCopiedFiles},
    {"application/x-kde-cutselection", &Atoms::cutSelection},
    {"VELLUMIX_CONVERSION", &Atoms::conversion},
    {"VELLUMIX_CLOCK", &Atoms::clock},
    {"_NET_ACTIVE_WINDOW", &Atoms::activeWindow},
    {"_NET_SUPPORTING_WM_CHECK", &Atoms::windowManagerCheck},
    {"WM_STATE", &Atoms::managedState},
    {"_NET_WM_PID", &Atoms::windowProcess},
    {"_GTK_APPLICATION_ID", &Atoms::gtkApplicationID},
    {"_KDE_NET_WM_DESKTOP_FILE", &Atoms::kdeDesktopFile},
    {"BAMF_DESKTOP_FILE_HINT", &Atoms::bamfDesktopFile},
    {"_NET_WM_NAME", &Atoms::windowName},
    {"_NET_WM_ICON_NAME", &Atoms::windowIconName},
    {"_NET_WM_WINDOW_TYPE", &Atoms::windowType},
    {"_NET_WM_WINDOW_TYPE_UTILITY", &Atoms::windowTypeUtility},
    {"_NET_WM_WINDOW_TYPE_POPUP_MENU", &Atoms::windowTypePopUpMenu},
    {"_NET_WM_WINDOW_TYPE_TOOLTIP", &Atoms::windowTypeToolTip},
    {"_NET_WM_WINDOW_TYPE_DIALOG", &Atoms::windowTypeDialog},
    {"_NET_WM_WINDOW_TYPE_NORMAL", &Atoms::windowTypeNormal},
    {"_NET_WM_STATE", &Atoms::windowState},
    {"_NET_WM_STATE_ABOVE", &Atoms::windowStateAbove},
    {"_NET_WM_STATE_MODAL", &Atoms::windowStateModal},
    {"_MOTIF_WM_HINTS", &Atoms::motifHints},
    {"_NET_WM_WINDOW_OPACITY", &Atoms::windowOpacity},
    {"_NET_WM_PING", &Atoms::windowPing},
    {"WM_PROTOCOLS", &Atoms::protocols},
    {"WM_DELETE_WINDOW", &Atoms::deleteWindow},
    {"_NET_CURRENT_DESKTOP", &Atoms::currentDesktop},
    {"_NET_WORKAREA", &Atoms::workArea},
    {"_NET_CLIENT_LIST", &Atoms::clientList},
    {"_NET_WM_STRUT_PARTIAL", &Atoms::strutPartial},
    {"_XSETTINGS_SETTINGS", &Atoms::settings},
    {"XIM_SERVERS", &Atoms::inputMethodServers},
    {"_NET_SYSTEM_TRAY_OPCODE", &Atoms::trayOpcode},
    {"_NET_SYSTEM_TRAY_VISUAL", &Atoms::trayVisual},
    {"_XEMBED_INFO", &Atoms::embedInfo},
};

}  // namespace

AtomRequest::AtomRequest(xcb_connection_t* connection) : connection(connection) {
    for (const auto& entry : entries) {
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(entry.name.size()), entry.name.data()));
    }
}

Atoms AtomRequest::collect() {
    Atoms atoms{};
    std::size_t at = 0;
    for (const auto& entry : entries) {
        const auto reply = xcb::await<xcb_intern_atom_reply>(connection, cookies[at++]);
        if (reply) atoms.*entry.atom = reply->atom;
    }
    return atoms;
}

}  // namespace vellumix::x11
