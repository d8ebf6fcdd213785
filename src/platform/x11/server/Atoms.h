#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace vellumix::x11 {

/// The atoms that this folder uses, under names of their own.
struct Atoms {
    // Selections and their protocol (ICCCM 2.0 section 2; the ClipboardManager specification of
    // freedesktop.org).
    xcb_atom_t clipboard;
    xcb_atom_t clipboardManager;
    xcb_atom_t manager;
    xcb_atom_t targets;
    xcb_atom_t timestamp;
    xcb_atom_t multiple;
    xcb_atom_t saveTargets;
    xcb_atom_t incr;
    xcb_atom_t atomPair;
    xcb_atom_t null;

    // Content.
    xcb_atom_t passwordManagerHint;
    xcb_atom_t utf8String;
    xcb_atom_t compoundText;
    xcb_atom_t text;
    xcb_atom_t plainTextUTF8;
    xcb_atom_t plainText;
    xcb_atom_t uriList;
    xcb_atom_t gnomeCopiedFiles;
    xcb_atom_t mateCopiedFiles;
    xcb_atom_t cutSelection;

    // Properties of our own windows.
    xcb_atom_t conversion;
    xcb_atom_t clock;

    // Windows of applications (Extended Window Manager Hints 1.5, and what desktops have added).
    xcb_atom_t activeWindow;
    xcb_atom_t windowManagerCheck;
    xcb_atom_t managedState;
    xcb_atom_t windowProcess;
    xcb_atom_t gtkApplicationID;
    xcb_atom_t kdeDesktopFile;
    xcb_atom_t bamfDesktopFile;

    // Windows of our own, monitors and settings (Extended Window Manager Hints 1.5, ICCCM 2.0 section 4.1.2,
    // XSETTINGS 0.5).
    xcb_atom_t windowName;
    xcb_atom_t windowIconName;
    xcb_atom_t windowType;
    xcb_atom_t windowTypeUtility;
    xcb_atom_t windowTypePopUpMenu;
    xcb_atom_t windowTypeToolTip;
    xcb_atom_t windowTypeDialog;
    xcb_atom_t windowTypeNormal;
    xcb_atom_t windowState;
    xcb_atom_t windowStateAbove;
    xcb_atom_t windowStateModal;
    xcb_atom_t motifHints;
    xcb_atom_t windowOpacity;
    xcb_atom_t windowPing;
    xcb_atom_t protocols;
    xcb_atom_t deleteWindow;
    xcb_atom_t currentDesktop;
    xcb_atom_t workArea;
    xcb_atom_t clientList;
    xcb_atom_t strutPartial;
    xcb_atom_t settings;
    xcb_atom_t inputMethodServers;

    // The system tray (System Tray Protocol 0.3, XEmbed 0.5).
    xcb_atom_t trayOpcode;
    xcb_atom_t trayVisual;
    xcb_atom_t embedInfo;
};

/// Asks the server for all atoms at once; `collect` waits for the answers.
class AtomRequest {
public:
    explicit AtomRequest(xcb_connection_t* connection);
    Atoms collect();

private:
    xcb_connection_t* connection;
    std::vector<xcb_intern_atom_cookie_t> cookies;
};

}  // namespace vellumix::x11
