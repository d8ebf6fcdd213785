#include "core/cleaning/AutoCleanScheduler.h"

#include <algorithm>

#include "core/history/Store.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

constexpr double checkInterval = 3600;
constexpr double day = 86400;
constexpr double week = 604800;

bool hasRunOut(const std::optional<Date>& lastRun, double period, Date now) {
    return !lastRun || now - *lastRun >= period;
}

}  // namespace

AutoCleanScheduler::AutoCleanScheduler(Store& store, std::function<AutoCleanSettings()> getSettings,
                                       std::function<void(AutoCleanSettings)> setSettings)
    : store(store), getSettings(std::move(getSettings)), setSettings(std::move(setSettings)) {}

AutoCleanScheduler::DueModes AutoCleanScheduler::dueModes(const AutoCleanSettings& settings, Date now) {
    return {
        .daily =
            settings.modes.contains(AutoCleanMode::daily) && hasRunOut(settings.lastDailyRunAt, day, now),
        .weekly =
            settings.modes.contains(AutoCleanMode::weekly) && hasRunOut(settings.lastWeeklyRunAt, week, now),
    };
}

std::vector<ClipboardItem> AutoCleanScheduler::remainingItems(const AutoCleanSettings& settings,
                                                              const std::vector<ClipboardItem>& items) {
    if (settings.modes.empty() || settings.modes.contains(AutoCleanMode::none)) return items;
    std::vector<ClipboardItem> remaining;
    std::ranges::copy_if(items, std::back_inserter(remaining),
                         [](const ClipboardItem& item) { return item.pinned || item.locked; });
    return remaining;
}

void AutoCleanScheduler::start() {
    invalidateTimer();
    const auto settings = getSettings();
    if (!settings.modes.contains(AutoCleanMode::daily) && !settings.modes.contains(AutoCleanMode::weekly))
        return;
    cleanIfDue();
    // The scheduler owns the timer, so the timer can't outlive it.
    timer = RunLoop::main().repeatingTimer(checkInterval, [this] { cleanIfDue(); });
}

void AutoCleanScheduler::invalidateTimer() { timer.reset(); }

void AutoCleanScheduler::cleanIfDue() {
    const auto due = dueModes(getSettings(), RunLoop::main().now());
    if (due.daily || due.weekly) performClean(due.daily, due.weekly);
}

bool AutoCleanScheduler::userConsents() {
    const NSAlert alert{
        .messageText = localized("autoClean.dialog.title"),
        .informativeText = localized("autoClean.dialog.message"),
        .buttons = {localized("cancel"), localized("clear")},
    };
    isAsking = true;
    const auto answer = platform::current().alerts->runModal(alert);
    isAsking = false;
    return answer == NSAlert::firstButtonReturn + 1;
}

void AutoCleanScheduler::performClean(bool daily, bool weekly) {
    // The hourly check goes on while the question is open; a second question would ask nothing new, and a
    // clean behind the open one would take the answer out of the user's hands.
    if (isAsking) return;
    const auto now = RunLoop::main().now();
    const auto removes = [this] {
        return remainingItems(getSettings(), store.items().get()).size() < store.items()->size();
    };
    if (removes() && getSettings().confirm && !userConsents()) return;
    // Computed after the answer: what was copied, pinned, locked or deleted while the question was open
    // counts.
    const bool hasRemoved = removes();
    if (hasRemoved) store.replaceAll(remainingItems(getSettings(), store.items().get()));
    auto settings = getSettings();
    if (daily) settings.lastDailyRunAt = now;
    if (weekly) settings.lastWeeklyRunAt = now;
    settings.lastRunAt = now;
    setSettings(std::move(settings));
    if (hasRemoved) NotificationCenter::defaultCenter().post(historyCleanedNotification);
}

}  // namespace vellumix
