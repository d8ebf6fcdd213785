#include "platform/x11/Display.h"

#include <utility>

namespace vellumix::x11 {

Display::Display(std::unique_ptr<Connection> connection, Options options)
    : connection(std::move(connection)),
      workspace(*this->connection, windowManager, DesktopFiles(DesktopFiles::standardFolders()),
                std::move(options.chords)),
      statusBar(*this->connection, windows, std::move(options.openMenu)),
      alerts(std::move(options.palette)),
      syntheticKeys(
          *this->connection, keyboard, grabs, workspace, pasteboard, [this] { return hasKeyboard(); },
          std::move(options.onLackOfKeys)) {}

void Display::fill(Platform& platform) {
    platform.pasteboard = &pasteboard;
    platform.workspace = &workspace;
    platform.statusBar = &statusBar;
    platform.windows = &windows;
    platform.alerts = &alerts;
    platform.hotkeys = &hotkeys;
    platform.eventTaps = &eventTaps;
    platform.syntheticKeys = &syntheticKeys;
    if (const auto& family = windows.settings().fontFamily) platform.fontFamilies.system = *family;
}

}  // namespace vellumix::x11
