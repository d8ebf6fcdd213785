#pragma once

#include <cstdint>
#include <string>

#include "core/history/ClipboardItem.h"

namespace vellumix {

/// How long ago the entry came, in whole minutes, hours or days, cut and not rounded, in the chosen language.
/// Under a minute, and in the future, is "just now". A view that shows it is evaluated anew by
/// `readTimestampsAnew`. Main thread.
std::string relativeTimestamp(const ClipboardItem& item);

/// Ages don't move while they are looked at, so that nothing wakes up for them; whoever shows them again
/// says so here.
void readTimestampsAnew();

std::string minutesAgo(std::int64_t minutes);
std::string hoursAgo(std::int64_t hours);
std::string daysAgo(std::int64_t days);

}  // namespace vellumix
