#include "platform/foundation/loop/Date.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace vellumix {

std::string Date::iso8601(bool basic) const {
    using namespace std::chrono;
    const auto moment = sys_seconds(seconds(static_cast<long long>(std::floor(unixSeconds()))));
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[40];
    std::snprintf(
        text, sizeof text, basic ? "%04d%02u%02uT%02ld%02ld%02ldZ" : "%04d-%02u-%02uT%02ld:%02ld:%02ldZ",
        static_cast<int>(date.year()), static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        time.hours().count(), time.minutes().count(), time.seconds().count());
    return text;
}

namespace {

/// Takes digits, as many as told, from the front of the text; -1 where there are none.
int takeNumber(std::string_view& text, std::size_t digits) {
    int number = 0;
    if (text.size() < digits) return -1;
    for (const char c : text.substr(0, digits)) {
        if (c < '0' || c > '9') return -1;
        number = number * 10 + (c - '0');
    }
    text.remove_prefix(digits);
    return number;
}

bool takeOneOf(std::string_view& text, std::string_view characters) {
    if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
}

}  // namespace

std::optional<Date> Date::fromRFC3339(std::string_view text) {
    using namespace std::chrono;
    const int inYear = takeNumber(text, 4);
    const bool hasMonth = takeOneOf(text, "-");
    const int inMonth = takeNumber(text, 2);
    const bool hasDay = takeOneOf(text, "-");
    const int inDay = takeNumber(text, 2);
    const bool hasTime = takeOneOf(text, "Tt ");
    const int hour = takeNumber(text, 2);
    const bool hasMinute = takeOneOf(text, ":");
    const int minute = takeNumber(text, 2);
    const bool hasSecond = takeOneOf(text, ":");
    const int second = takeNumber(text, 2);
    const bool isShaped = hasMonth && hasDay && hasTime && hasMinute && hasSecond;
    if (!isShaped || inYear < 0 || inMonth < 0 || inDay < 0 || hour < 0 || minute < 0 || second < 0)
        return std::nullopt;
    const year_month_day day(year(inYear), month(static_cast<unsigned>(inMonth)),
                             std::chrono::day(static_cast<unsigned>(inDay)));
    if (!day.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;

    double fraction = 0;
    if (takeOneOf(text, ".")) {
        double place = 1;
        const auto before = text.size();
        for (int digit = takeNumber(text, 1); digit >= 0; digit = takeNumber(text, 1))
            fraction += digit * (place /= 10);
        if (text.size() == before) return std::nullopt;
    }
    int offset = 0;
    if (!takeOneOf(text, "Zz")) {
        const bool isBehind = text.starts_with('-');
        if (!takeOneOf(text, "+-")) return std::nullopt;
        const int hours = takeNumber(text, 2);
        const bool hasColon = takeOneOf(text, ":");
        const int minutes = takeNumber(text, 2);
        if (hours < 0 || hours > 23 || !hasColon || minutes < 0 || minutes > 59) return std::nullopt;
        offset = (hours * 60 + minutes) * (isBehind ? -60 : 60);
    }
    if (!text.empty()) return std::nullopt;
    const auto days = static_cast<double>(sys_days(day).time_since_epoch().count());
    return fromUnix(days * 86400 + hour * 3600 + minute * 60 + std::min(second, 59) + fraction - offset);
}

}  // namespace vellumix
