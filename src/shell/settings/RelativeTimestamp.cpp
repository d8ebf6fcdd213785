#include "shell/settings/RelativeTimestamp.h"

#include <algorithm>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/Published.h"
#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/settings/LanguageManager.h"

namespace vellumix {

namespace {

constexpr double minute = 60;
constexpr double hour = 60 * minute;
constexpr double day = 24 * hour;

struct Readings {
    static Readings& shared() { return SharedInstances::current().get<Readings>(); }

    Published<int> count{0};
};

}  // namespace

std::string minutesAgo(std::int64_t minutes) { return localized("timestamp.minutesAgo", minutes); }
std::string hoursAgo(std::int64_t hours) { return localized("timestamp.hoursAgo", hours); }
std::string daysAgo(std::int64_t days) { return localized("timestamp.daysAgo", days); }

void readTimestampsAnew() {
    Readings::shared().count.update([](int& count) { ++count; });
}

std::string relativeTimestamp(const ClipboardItem& item) {
    Readings::shared().count.get();
    // The history may hold any date; more days than this can't be told.
    constexpr double longest = 1e6 * day;
    const double age = std::min(RunLoop::main().now() - item.date, longest);
    const auto whole = [age](double unit) { return static_cast<std::int64_t>(age / unit); };
    if (age < minute) return localized("timestamp.justNow");
    if (age < hour) return minutesAgo(whole(minute));
    if (age < day) return hoursAgo(whole(hour));
    return daysAgo(whole(day));
}

}  // namespace vellumix
