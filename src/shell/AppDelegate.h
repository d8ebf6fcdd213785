#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/AutoCleanScheduler.h"
#include "core/AutoCleanSettings.h"
#include "core/PasteboardWatcher.h"
#include "core/Store.h"
#include "platform/foundation/Lifetime.h"
#include "platform/foundation/Published.h"

namespace vellumix {

/// The composition root: owns every long-lived service from its construction to the end of the process,
/// starts them in order and stops them in order. Main thread only. States: constructed, launched,
/// terminating.
class AppDelegate {
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

    Store& store() { return _store; }
    /// Absent until launch.
    PasteboardWatcher* watcher() { return _watcher.get(); }
    AutoCleanScheduler& autoCleanScheduler();

    Published<AutoCleanSettings> autoCleanSettings;

private:
    void setAutoCleanSettings(AutoCleanSettings settings);

    Store _store;
    std::unique_ptr<PasteboardWatcher> _watcher;
    std::unique_ptr<AutoCleanScheduler> _autoCleanScheduler;
    Lifetime _lifetime;
};

}  // namespace vellumix
