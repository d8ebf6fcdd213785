#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/StatusItem.h"

namespace vellumix::linux_desktop {

/// A status item by the Status Notifier Item protocol of freedesktop.org, with its menu by
/// com.canonical.dbusmenu. It connects to the session bus while the main loop runs, and registers with every
/// watcher that comes. Main thread only.
class StatusNotifierItem final : public NSStatusItem {
public:
    StatusNotifierItem();
    ~StatusNotifierItem() override;

    void setImage(const std::string& symbolName, const std::string& accessibilityDescription) override;
    void setAction(Work action) override;
    void setMenu(std::vector<StatusMenuEntry> entries) override;

private:
    struct State;
    std::shared_ptr<State> _state;
};

class StatusNotifierBar final : public NSStatusBar {
public:
    std::unique_ptr<NSStatusItem> makeStatusItem() override { return std::make_unique<StatusNotifierItem>(); }
};

}  // namespace vellumix::linux_desktop
