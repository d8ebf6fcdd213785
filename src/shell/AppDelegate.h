#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/capture/PasteboardWatcher.h"
#include "core/cleaning/AutoCleanScheduler.h"
#include "core/cleaning/AutoCleanSettings.h"
#include "core/history/Store.h"
#include "delivery/HotkeyCoordinator.h"
#include "platform/desktop/Workspace.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"
#include "protection/AuthenticationManager.h"
#include "protection/LockCoordinator.h"
#include "shell/StatusBarController.h"
#include "shell/Warnings.h"
#include "shell/settings/AppearanceSettings.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"

namespace vellumix {

/// The composition root: owns every long-lived service from its construction to the end of the process,
/// starts them in order and stops them in order. Main thread only. States: constructed, launched,
/// terminating.
class AppDelegate {
    // First, as the history is loaded before the settings are read.
    Store _store;
    ThemeManager& _themeManager = ThemeManager::shared();
    LanguageManager& _languageManager = LanguageManager::shared();
    AuthenticationManager _authenticationManager;

public:
    /// How the process was started.
    struct ProcessInfo {
        /// Without the program's name.
        std::vector<std::string> arguments;
        /// The value of an environment variable, or nothing.
        std::function<std::optional<std::string>(const std::string& name)> environment;
    };

    /// Loads the history and the settings.
    AppDelegate();

    void applicationDidFinishLaunching(const ProcessInfo& process);
    /// Returns when the history and the settings are on disk.
    void applicationWillTerminate();
    /// Ends the main run loop, after the closures that are running.
    void terminate();

    Store& store() { return _store; }
    ThemeManager& themeManager() { return _themeManager; }
    LanguageManager& languageManager() { return _languageManager; }
    AuthenticationManager& authenticationManager() { return _authenticationManager; }
    /// Absent until launch.
    PasteboardWatcher* watcher() { return _watcher.get(); }
    /// Absent until launch.
    StatusBarController* statusBar() { return _statusBar.get(); }
    AutoCleanScheduler& autoCleanScheduler();

    /// Makes the root view of the panel when the panel is built. Empty without a maker.
    void setRootView(std::function<view::View()> maker) { _makeRootView = std::move(maker); }
    view::View rootView() const { return _makeRootView ? _makeRootView() : view::View(); }

    /// Made at its first use.
    LockCoordinator& lockCoordinator();
    /// Made at its first use.
    HotkeyCoordinator& hotkeyCoordinator();

    /// Takes the panel away at once, and a little later pastes the entry into `previousApp`, which is
    /// forgotten, or into the front application where there is none.
    void pasteAndClose(const ClipboardItem& item);
    /// Makes it the shortcut of the panel, now and at later starts. False when the desktop refuses it; then
    /// the old one stays.
    bool updateGlobalShortcut(const Shortcut& wanted);
    /// Hides the panel with a fade, or notes the front application in `previousApp` and shows the panel, also
    /// one that is fading out. What the hotkey does; nothing before launch.
    void togglePanel();
    /// As `togglePanel` while the panel is hidden or fades out; an open one stays.
    void showPanel();
    void hidePanel();

    /// The application that was in front when the panel was toggled on; absent where there was none.
    std::optional<NSRunningApplication> previousApp;

    /// Shows and hides the panel, whichever application is in front.
    Published<Shortcut> shortcut;
    Published<AutoCleanSettings> autoCleanSettings;
    Published<AppearanceSettings> appearanceSettings;
    /// The size of the panel at launch, in points.
    Published<Size> popoverSize;

private:
    void setAutoCleanSettings(AutoCleanSettings settings);

    std::function<view::View()> _makeRootView;
    std::unique_ptr<PasteboardWatcher> _watcher;
    std::unique_ptr<StatusBarController> _statusBar;
    std::unique_ptr<Warnings> _warnings;
    std::unique_ptr<AutoCleanScheduler> _autoCleanScheduler;
    std::unique_ptr<LockCoordinator> _lockCoordinator;
    std::unique_ptr<HotkeyCoordinator> _hotkeyCoordinator;
    Lifetime _lifetime;
};

}  // namespace vellumix
