#pragma once

#include "platform/desktop/Display.h"
#include "platform/headless/Desktop.h"
#include "platform/headless/StatusBar.h"

namespace vellumix::headless {

/// A display in memory, for a program whose other parts are real. It never ends.
class Display final : public vellumix::Display {
public:
    explicit Display(RunLoop& runLoop) : windows(runLoop) {}

    void fill(Platform& platform) override {
        platform.pasteboard = &pasteboard;
        platform.workspace = &workspace;
        platform.statusBar = &statusBar;
        platform.windows = &windows;
        platform.alerts = &alerts;
        platform.hotkeys = &hotkeys;
        platform.eventTaps = &eventTaps;
        platform.syntheticKeys = &syntheticKeys;
    }
    bool isSeen() const override { return false; }
    Observation observeEnd(std::function<void()>) override { return {}; }

private:
    Pasteboard pasteboard{NSPasteboard::Capabilities{.announcesChanges = true}};
    Workspace workspace;
    StatusBar statusBar;
    WindowServer windows;
    Alerts alerts;
    Hotkeys hotkeys;
    EventTaps eventTaps;
    SyntheticKeys syntheticKeys{workspace, pasteboard};
};

}  // namespace vellumix::headless
