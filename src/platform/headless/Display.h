#pragma once

#include "platform/desktop/Display.h"
#include "platform/headless/Desktop.h"
#include "platform/headless/StatusBar.h"

namespace vellumix::headless {

/// A display in memory, for a program whose other parts are real. It never ends.
class Display final : public vellumix::Display {
public:
    explicit Display(RunLoop& runLoop) : _windows(runLoop) {}

    void fill(Platform& platform) override {
        platform.pasteboard = &_pasteboard;
        platform.workspace = &_workspace;
        platform.statusBar = &_statusBar;
        platform.windows = &_windows;
        platform.alerts = &_alerts;
        platform.hotkeys = &_hotkeys;
        platform.syntheticKeys = &_syntheticKeys;
    }
    bool isSeen() const override { return false; }
    Observation observeEnd(std::function<void()>) override { return {}; }

private:
    Pasteboard _pasteboard{NSPasteboard::Capabilities{.announcesChanges = true}};
    Workspace _workspace;
    StatusBar _statusBar;
    WindowServer _windows;
    Alerts _alerts;
    Hotkeys _hotkeys;
    SyntheticKeys _syntheticKeys{_workspace, _pasteboard};
};

}  // namespace vellumix::headless
