#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/Display.h"
#include "platform/view/windows/ModalAlerts.h"
#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/Hotkeys.h"
#include "platform/x11/keys/KeyboardMap.h"
#include "platform/x11/keys/SyntheticKeys.h"
#include "platform/x11/selections/Pasteboard.h"
#include "platform/x11/server/Connection.h"
#include "platform/x11/server/WindowManager.h"
#include "platform/x11/tray/StatusBar.h"
#include "platform/x11/windows/WindowServer.h"

namespace vellumix::x11 {

/// An X server and what stands round it.
class Display final : public vellumix::Display {
public:
    struct Options {
        /// Opens the status item's menu where no tray shows it.
        StatusMenuOpener openMenu;
        /// Of alerts.
        std::function<view::ControlPalette()> palette;
        /// What pastes where.
        PasteChords chords;
        /// Told when keys are wanted and there are none.
        std::function<void(SyntheticKeys::Lack)> onLackOfKeys;
    };

    Display(std::unique_ptr<Connection> connection, Options options);

    bool hasWindowManager() const { return windowManager.isRunning(); }

    void fill(Platform& platform) override;
    std::optional<std::string> iconTheme() const override { return windows.settings().iconTheme; }
    bool hasKeyboard() const override { return windows.hasKeyboard(); }
    Observation observeEnd(std::function<void()> handler) override {
        return connection->observeEnd(std::move(handler));
    }

private:
    std::unique_ptr<Connection> connection;
    Pasteboard pasteboard{*connection};
    WindowManager windowManager{*connection};
    KeyboardMap keyboard{*connection};
    Workspace workspace{*connection, windowManager};
    WindowServer windows{*connection, windowManager, keyboard};
    StatusBar statusBar;
    view::ModalAlerts alerts;
    Hotkeys hotkeys{*connection, keyboard};
    SyntheticKeys syntheticKeys;
};

}  // namespace vellumix::x11
