#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Workspace.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/x11/applications/DesktopFiles.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The front application of an X11 display, as its window manager announces it (_NET_ACTIVE_WINDOW, Extended
/// Window Manager Hints 1.5), and where none does, the application whose window has the input focus. A
/// question of the program's own, which may have the focus, leaves in front what was.
///
/// The bundle identifier is the desktop-file id that the window names (_GTK_APPLICATION_ID,
/// _KDE_NET_WM_DESKTOP_FILE, BAMF_DESKTOP_FILE_HINT), else that of the desktop file that names the window's
/// class, else the class itself (WM_CLASS, ICCCM 2.0 section 4.1.2.5).
class Workspace final : public NSWorkspace {
public:
    explicit Workspace(Connection& connection,
                       DesktopFiles desktopFiles = DesktopFiles(DesktopFiles::standardFolders()));
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    std::optional<NSRunningApplication> frontmostApplication() const override;
    bool activate(const NSRunningApplication& application) override;
    /// The bundle identifier of the front application, and its window class: either may be all that somebody
    /// knows of it.
    std::vector<std::string> frontNames() const;
    /// Whether a window manager runs that tells such things (EWMH 1.5, "_NET_SUPPORTING_WM_CHECK").
    bool hasWindowManager() const { return _manager != XCB_WINDOW_NONE; }

private:
    /// What a window says of its application.
    struct Application {
        xcb_window_t window = XCB_WINDOW_NONE;
        int processIdentifier = 0;
        std::string desktopFile;
        std::string windowClass;
    };

    xcb_window_t windowNamedBy(xcb_window_t window, xcb_atom_t property) const;
    void readWindowManager();
    void readActiveWindow() const;
    /// Several changes in a row are read as one.
    void readLater();
    /// What is in front where nobody announces it.
    void readFocus() const;
    void setFront(xcb_window_t window) const;
    std::optional<Application> applicationOf(xcb_window_t window) const;
    void giveFocus(xcb_window_t window);

    Connection& _connection;
    mutable DesktopFiles _desktopFiles;
    /// The window manager's own window; none without one.
    xcb_window_t _manager = XCB_WINDOW_NONE;
    std::optional<Observation> _managerEvents;
    mutable std::optional<Application> _front;
    bool _hasManagerChanged = false;
    mutable bool _hasActiveChanged = false;
    bool _isReading = false;
    std::optional<Observation> _rootEvents;
    /// Until the keys follow the pointer again.
    std::unique_ptr<NSTimer> _focusEnd;
    Lifetime _lifetime;
};

}  // namespace vellumix::x11
