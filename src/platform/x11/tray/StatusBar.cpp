#include "platform/x11/tray/StatusBar.h"

namespace vellumix::x11 {

StatusItem::StatusItem(Connection& connection, const WindowServer& windows, StatusMenuOpener openMenu)
    : connection(connection),
      windows(windows),
      openMenu(std::move(openMenu)),
      notifier(connection.runLoop(), [this](bool hasWatcher) { watcherChanged(hasWatcher); }) {}

void StatusItem::watcherChanged(bool hasWatcher) {
    if (hasWatcher) {
        menu.reset();
        tray.reset();
    } else if (!tray) {
        tray = std::make_unique<XEmbedTray>(
            connection, windows, [this](const Rect& icon, bool isPrimary) { pressed(icon, isPrimary); });
        tray->setImage(symbolName, title);
    }
}

void StatusItem::pressed(const Rect& icon, bool isPrimary) {
    menu.reset();
    if (const auto action = this->action; action && isPrimary) return action();
    menu = openMenu(entries, icon);
}

void StatusItem::setImage(const std::string& symbolName, const std::string& accessibilityDescription) {
    this->symbolName = symbolName;
    title = accessibilityDescription;
    if (tray) tray->setImage(symbolName, accessibilityDescription);
    notifier.setImage(symbolName, accessibilityDescription);
}

void StatusItem::setAction(Work action) {
    this->action = action;
    notifier.setAction(std::move(action));
}

void StatusItem::setMenu(std::vector<StatusMenuEntry> entries) {
    this->entries = entries;
    notifier.setMenu(std::move(entries));
}

}  // namespace vellumix::x11
