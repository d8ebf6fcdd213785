#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Geometry.h"
#include "platform/desktop/StatusItem.h"
#include "platform/linux/tray/StatusNotifierItem.h"
#include "platform/x11/tray/XEmbedTray.h"

namespace vellumix::x11 {

/// Opens the menu of an icon in the system tray, whose frame is in the space of the monitors. What is
/// returned closes the menu when it goes.
using StatusMenuOpener =
    std::function<std::shared_ptr<void>(const std::vector<StatusMenuEntry>& entries, const Rect& icon)>;

/// A status notifier item; while nobody on the session bus shows such items, an icon in the system tray. Main
/// thread only.
class StatusItem final : public NSStatusItem {
public:
    /// The window server must outlive this.
    StatusItem(Connection& connection, const WindowServer& windows, StatusMenuOpener openMenu);

    void setImage(const std::string& symbolName, const std::string& accessibilityDescription) override;
    void setAction(Work action) override;
    void setMenu(std::vector<StatusMenuEntry> entries) override;

private:
    void watcherChanged(bool hasWatcher);
    void pressed(const Rect& icon, bool isPrimary);

    Connection& connection;
    const WindowServer& windows;
    StatusMenuOpener openMenu;
    std::string symbolName;
    std::string title;
    Work action;
    std::vector<StatusMenuEntry> entries;
    std::shared_ptr<void> menu;
    std::unique_ptr<XEmbedTray> tray;
    linux_desktop::StatusNotifierItem notifier;
};

class StatusBar final : public NSStatusBar {
public:
    StatusBar(Connection& connection, const WindowServer& windows, StatusMenuOpener openMenu)
        : connection(connection), windows(windows), openMenu(std::move(openMenu)) {}

    std::unique_ptr<NSStatusItem> makeStatusItem() override {
        return std::make_unique<StatusItem>(connection, windows, openMenu);
    }

private:
    Connection& connection;
    const WindowServer& windows;
    StatusMenuOpener openMenu;
};

}  // namespace vellumix::x11
