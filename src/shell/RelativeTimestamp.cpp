#include "shell/RelativeTimestamp.h"

#include <cstdint>

#include "platform/foundation/LocalizedText.h"
#include "shell/LanguageManager.h"

namespace vellumix {

namespace {

constexpr double minute = 60;
constexpr double hour = 60 * minute;
constexpr double day = 24 * hour;

}  // namespace

std::string relativeTimestamp(Date date, Date now) {
    const double age = now - date;
    const auto whole = [age](double unit) { return static_cast<std::int64_t>(age / unit); };
    if (age < minute) return localized("timestamp.justNow");
    if (age < hour) return localized("timestamp.minutesAgo", whole(minute));
    if (age < day) return localized("timestamp.hoursAgo", whole(hour));
    return localized("timestamp.daysAgo", whole(day));
}

}  // namespace vellumix
