#include "platform/foundation/loop/Date.h"

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

}  // namespace vellumix
