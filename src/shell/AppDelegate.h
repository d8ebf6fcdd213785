#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "core/capture/PasteboardWatcher.h"
#include "core/cleaning/AutoCleanScheduler.h"
#include "core/cleaning/AutoCleanSettings.h"
#include "core/history/Store.h"
#include "delivery/HotkeyCoordinator.h"
#include "platform/desktop/CloudAccount.h"
#include "platform/desktop/Workspace.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"
#include "protection/AuthenticationManager.h"
#include "protection/LockCoordinator.h"
#include "shell/StatusBarController.h"
#include "shell/TelemetryReporter.h"
#include "shell/UpdateCoordinator.h"
#include "shell/Warnings.h"
#include "shell/settings/AppearanceSettings.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"
#include "sync/CloudSyncCoordinator.h"

namespace vellumix {

/// The composition root: owns every long-lived service from its construction to the end of the process,
/// starts them in order and stops them in order. Main thread only. States: constructed, launched,
/// terminating.
class AppDelegate {
    // First, as the history is loaded before the settings are read.
    Store store_;
    UpdateCoordinator updater_;
    ThemeManager& themeManager_ = ThemeManager::shared();
    LanguageManager& languageManager_ = LanguageManager::shared();
    TelemetryReporter telemetry_;
    AuthenticationManager authenticationManager_;

public:
    /// Loads the history and the settings.
    AppDelegate();

    void applicationDidFinishLaunching();
    /// Returns when the history and the settings are on disk.
    void applicationWillTerminate();
    /// Ends the main run loop, after the closures that are running.
    void terminate();

    Store& store() { return store_; }
    UpdateCoordinator& updater() { return updater_; }
    ThemeManager& themeManager() { return themeManager_; }
    LanguageManager& languageManager() { return languageManager_; }
    TelemetryReporter& telemetry() { return telemetry_; }
    AuthenticationManager& authenticationManager() { return authenticationManager_; }
    /// Absent until launch.
    PasteboardWatcher* watcher() { return watcher_.get(); }
    /// Absent until launch.
    StatusBarController* statusBar() { return statusBar_.get(); }
    AutoCleanScheduler& autoCleanScheduler();

    /// Makes the root view of the panel when the panel is built. Empty without a maker.
    void setRootView(std::function<view::View()> maker) { makeRootView = std::move(maker); }
    view::View rootView() const { return makeRootView ? makeRootView() : view::View(); }

    /// Made at its first use, and then brings entries where it is switched on.
    CloudSyncCoordinator& cloudSync();
    /// Made at its first use.
    LockCoordinator& lockCoordinator();
    /// Made at its first use.
    HotkeyCoordinator& hotkeyCoordinator();

    /// Puts the person's account with the cloud, or none, into the settings, and begins anew with it.
    void takeAccount(const std::optional<CloudAccount>& account);
    /// Takes the panel away at once, and a little later pastes the entry into `previousApp`, which is
    /// forgotten, or into the front application where there is none.
    void pasteAndClose(const ClipboardItem& item);
    /// Makes it the shortcut of the panel, now and at later starts. False when the desktop refuses it; then
    /// the old one stays.
    bool updateGlobalShortcut(const Shortcut& wanted);
    /// Makes it the shortcut that cuts files, now and at later starts. Where the desktop refuses it, the cut
    /// is switched off and the user told, a little later.
    void updateCutShortcut(const Shortcut& wanted);
    /// The switch of the cut, now and at later starts; refused as above.
    void setGlobalCutEnabled(bool isEnabled);
    /// Whether the cut is off because the desktop refused its shortcut.
    bool isCutRefused() const { return isCutRefused_; }
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
    /// Cuts files in file managers.
    Published<Shortcut> cutShortcut;
    Published<AutoCleanSettings> autoCleanSettings;
    Published<AppearanceSettings> appearanceSettings;
    /// The size of the panel at launch, in points.
    Published<Size> popoverSize;
    /// The switch of the cut, as the person has set it; off when the desktop has refused the shortcut.
    Published<bool> globalCutEnabled;

private:
    void startCut();
    /// Serves the loop until the user has read it. Nothing while it is up, and for two seconds after.
    void showInputMonitoringAlert();
    void setAutoCleanSettings(AutoCleanSettings settings);

    std::function<view::View()> makeRootView;
    std::unique_ptr<PasteboardWatcher> watcher_;
    std::unique_ptr<StatusBarController> statusBar_;
    std::unique_ptr<Warnings> warnings;
    std::unique_ptr<AutoCleanScheduler> autoCleanScheduler_;
    std::unique_ptr<CloudSyncCoordinator> cloudSync_;
    std::unique_ptr<LockCoordinator> lockCoordinator_;
    std::unique_ptr<HotkeyCoordinator> hotkeyCoordinator_;
    bool permissionAlertShown = false;
    bool isCutRefused_ = false;
    std::vector<Observation> tapFailures;
    Lifetime lifetime;
};

}  // namespace vellumix
