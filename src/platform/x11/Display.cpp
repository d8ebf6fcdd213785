#include "platform/x11/Display.h"

#include <utility>

namespace vellumix::x11 {

Display::Display(std::unique_ptr<Connection> connection, Options options)
    : _connection(std::move(connection)),
      _statusBar(*_connection, _windows, std::move(options.openMenu)),
      _alerts(std::move(options.palette)),
      _syntheticKeys(*_connection, _keyboard, _workspace, _pasteboard, std::move(options.chords),
                     std::move(options.onLackOfKeys)) {}

void Display::fill(Platform& platform) {
    platform.pasteboard = &_pasteboard;
    platform.workspace = &_workspace;
    platform.statusBar = &_statusBar;
    platform.windows = &_windows;
    platform.alerts = &_alerts;
    platform.hotkeys = &_hotkeys;
    platform.syntheticKeys = &_syntheticKeys;
    if (const auto& family = _windows.settings().fontFamily) platform.fontFamilies.system = *family;
}

}  // namespace vellumix::x11
