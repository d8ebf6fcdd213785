#pragma once

#include <string>

#include "platform/foundation/Date.h"

namespace vellumix {

/// How long ago the date was, in whole minutes, hours or days, cut and not rounded, in the chosen language.
/// Under a minute, and in the future, is "just now". Main thread.
std::string relativeTimestamp(Date date, Date now);

}  // namespace vellumix
