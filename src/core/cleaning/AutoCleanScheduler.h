#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "core/cleaning/AutoCleanSettings.h"
#include "core/history/ClipboardItem.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

class Store;

/// Decides when a clean is due and performs it. A clean removes what is neither pinned nor locked, however
/// young. Main thread only.
class AutoCleanScheduler {
public:
    static constexpr const char* historyCleanedNotification = "HistoryCleaned";

    AutoCleanScheduler(Store& store, std::function<AutoCleanSettings()> getSettings,
                       std::function<void(AutoCleanSettings)> setSettings);

    /// Begins or re-begins the schedule: cleans at once what is due, and then checks every hour.
    void start();
    /// Ends the schedule.
    void invalidateTimer();

    /// One clean, which sets the last-run dates of the periods that it stands for besides that of any run.
    /// With `confirm`, the user is asked first, and anything but consent leaves everything as it was. While
    /// such a question is open, further cleans do nothing.
    void performClean(bool daily, bool weekly);

    struct DueModes {
        bool daily = false;
        bool weekly = false;

        friend bool operator==(const DueModes&, const DueModes&) = default;
    };
    /// Which periods have run out at `now`.
    static DueModes dueModes(const AutoCleanSettings& settings, Date now);
    /// What a clean leaves, in order.
    static std::vector<ClipboardItem> remainingItems(const AutoCleanSettings& settings,
                                                     const std::vector<ClipboardItem>& items);

private:
    void cleanIfDue();
    bool userConsents();

    Store& store;
    const std::function<AutoCleanSettings()> getSettings;
    const std::function<void(AutoCleanSettings)> setSettings;
    std::unique_ptr<NSTimer> timer;
    bool isAsking = false;
};

}  // namespace vellumix
