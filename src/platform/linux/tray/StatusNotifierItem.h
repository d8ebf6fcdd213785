#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/StatusItem.h"

namespace vellumix::linux_desktop {

/// A status item by the Status Notifier Item protocol of freedesktop.org, with its menu by
/// com.canonical.dbusmenu. It connects to the session bus while the main loop runs, and registers with every
/// watcher that comes. Main thread only. The loop must outlive it.
class StatusNotifierItem final : public NSStatusItem {
public:
    /// Whether there is anybody who shows the item. Called from the loop, once as soon as it is known and
    /// then whenever it changes; without a bus there is nobody.
    using WatcherHandler = std::function<void(bool hasWatcher)>;

    explicit StatusNotifierItem(RunLoop& runLoop, WatcherHandler onWatcher = nullptr);
    ~StatusNotifierItem() override;

    void setImage(const std::string& symbolName, const std::string& accessibilityDescription) override;
    void setAction(Work action) override;
    void setMenu(std::vector<StatusMenuEntry> entries) override;

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
