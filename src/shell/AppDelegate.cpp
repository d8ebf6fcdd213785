#include "shell/AppDelegate.h"

#include <algorithm>

#include "platform/foundation/RunLoop.h"
#include "platform/foundation/UserDefaults.h"

namespace vellumix {

AppDelegate::AppDelegate()
    : autoCleanSettings(AutoCleanSettings::load()), appearanceSettings(AppearanceSettings::load()) {}

AutoCleanScheduler& AppDelegate::autoCleanScheduler() {
    if (!_autoCleanScheduler) {
        _autoCleanScheduler = std::make_unique<AutoCleanScheduler>(
            _store, [this] { return autoCleanSettings.get(); },
            _lifetime.weakly(
                [this](AutoCleanSettings settings) { setAutoCleanSettings(std::move(settings)); }));
    }
    return *_autoCleanScheduler;
}

void AppDelegate::setAutoCleanSettings(AutoCleanSettings settings) {
    autoCleanSettings.set(std::move(settings));
    autoCleanSettings->save();
}

void AppDelegate::applicationDidFinishLaunching(const ProcessInfo& process) {
    if (std::ranges::find(process.arguments, "-resetOnboarding") != process.arguments.end()) {
        UserDefaults::standard().remove("onboarding.completed");
    }
    if (process.environment("XCTestConfigurationFilePath")) return;

    _watcher = std::make_unique<PasteboardWatcher>(_store);
    _watcher->start();
    _statusBar = std::make_unique<StatusBarController>(*this);

    auto& scheduler = autoCleanScheduler();
    if (autoCleanSettings->modes.contains(AutoCleanMode::onLaunch)) {
        scheduler.performClean(AutoCleanScheduler::Due::none);
    }
    scheduler.start();
}

void AppDelegate::terminate() { RunLoop::main().stop(); }

void AppDelegate::applicationWillTerminate() {
    if (_watcher) _watcher->stop();
    autoCleanScheduler().invalidateTimer();
    _store.saveNow();
    UserDefaults::standard().synchronize();
}

}  // namespace vellumix
