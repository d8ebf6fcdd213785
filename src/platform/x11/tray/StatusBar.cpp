#include "platform/x11/tray/StatusBar.h"

namespace vellumix::x11 {

StatusItem::StatusItem(Connection& connection, const WindowServer& windows, StatusMenuOpener openMenu)
    : _connection(connection),
      _windows(windows),
      _openMenu(std::move(openMenu)),
      _notifier(connection.runLoop(), [this](bool hasWatcher) { watcherChanged(hasWatcher); }) {}

void StatusItem::watcherChanged(bool hasWatcher) {
    if (hasWatcher) {
        _menu.reset();
        _tray.reset();
    } else if (!_tray) {
        _tray = std::make_unique<XEmbedTray>(
            _connection, _windows, [this](const Rect& icon, bool isPrimary) { pressed(icon, isPrimary); });
        _tray->setImage(_symbolName, _title);
    }
}

void StatusItem::pressed(const Rect& icon, bool isPrimary) {
    _menu.reset();
    if (const auto action = _action; action && isPrimary) return action();
    _menu = _openMenu(_entries, icon);
}

void StatusItem::setImage(const std::string& symbolName, const std::string& accessibilityDescription) {
    _symbolName = symbolName;
    _title = accessibilityDescription;
    if (_tray) _tray->setImage(symbolName, accessibilityDescription);
    _notifier.setImage(symbolName, accessibilityDescription);
}

void StatusItem::setAction(Work action) {
    _action = action;
    _notifier.setAction(std::move(action));
}

void StatusItem::setMenu(std::vector<StatusMenuEntry> entries) {
    _entries = entries;
    _notifier.setMenu(std::move(entries));
}

}  // namespace vellumix::x11
