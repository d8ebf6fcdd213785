#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Workspace.h"
#include "platform/x11/applications/ApplicationChords.h"
#include "platform/x11/applications/DesktopFiles.h"
#include "platform/x11/server/WindowManager.h"

namespace vellumix::x11 {

/// The front application of an X11 display, as its window manager announces it (_NET_ACTIVE_WINDOW, Extended
/// Window Manager Hints 1.5), and where none does, the application whose window has the input focus. A
/// question of the program's own, which may have the focus, leaves in front what was. Where a window manager
/// announces it, the answer is there without asking the server, unless an announcement has come and is still
/// to be read.
///
/// The bundle identifier is the desktop-file id that the window names (_GTK_APPLICATION_ID,
/// _KDE_NET_WM_DESKTOP_FILE, BAMF_DESKTOP_FILE_HINT), else that of the desktop file that names the window's
/// class, else the class itself (WM_CLASS, ICCCM 2.0 section 4.1.2.5). Which keys do what in an application
/// is known by that identifier or by the class: either may be all that somebody knows of it.
class Workspace final : public NSWorkspace {
public:
    /// Both must outlive it.
    Workspace(Connection& connection, WindowManager& windowManager,
              DesktopFiles desktopFiles = DesktopFiles(DesktopFiles::standardFolders()),
              ApplicationChords chords = ApplicationChords());
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    std::optional<NSRunningApplication> frontmostApplication() const override;
    bool activate(const NSRunningApplication& application) override;
    /// The keys of the front application, the best first.
    const std::vector<ApplicationChord>& frontChords(ApplicationChords::Meaning meaning) const;

private:
    /// What a window says of its application.
    struct Application {
        xcb_window_t window = XCB_WINDOW_NONE;
        int processIdentifier = 0;
        std::string desktopFile;
        std::string windowClass;
    };

    void followActiveWindow();
    void lookAgain() const;
    /// What is in front where nobody announces it.
    void readFocus() const;
    void setFront(xcb_window_t window) const;
    std::optional<Application> applicationOf(xcb_window_t window) const;
    /// What the present front application is known by.
    std::vector<std::string> frontNames() const;
    void giveFocus(xcb_window_t window);

    Connection& connection;
    WindowManager& windowManager;
    mutable DesktopFiles desktopFiles;
    const ApplicationChords chords;
    mutable std::optional<Application> front;
    Observation activeChanges;
    /// Until the keys follow the pointer again.
    std::unique_ptr<NSTimer> focusEnd;
};

}  // namespace vellumix::x11
