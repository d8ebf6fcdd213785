#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/Display.h"
#include "platform/view/windows/ModalAlerts.h"
#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/EventTaps.h"
#include "platform/x11/keys/Hotkeys.h"
#include "platform/x11/keys/KeyGrabs.h"
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
        /// Which keys do what where.
        ApplicationChords chords;
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
    Workspace workspace;
    WindowServer windows{*connection, windowManager, keyboard};
    StatusBar statusBar;
    view::ModalAlerts alerts;
    KeyGrabs grabs{*connection, keyboard};
    Hotkeys hotkeys{*connection, grabs};
    EventTaps eventTaps{*connection, grabs, [this] { return hasKeyboard(); }};
    SyntheticKeys syntheticKeys;
};

}  // namespace vellumix::x11
