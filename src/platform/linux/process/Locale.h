#pragma once

#include <string>
#include <vector>

#include "platform/linux/files/Paths.h"

namespace vellumix::linux_desktop {

/// The locale names that the user's environment asks for, best first: those of LANGUAGE (GNU gettext manual,
/// section 2.3.3), then the locale of messages (POSIX.1-2017 Base Definitions section 8.2). None where the
/// locale is "C", "POSIX" or not set, as LANGUAGE doesn't count there.
std::vector<std::string> preferredLanguages();
std::vector<std::string> preferredLanguages(const Paths::Environment& environment);

}  // namespace vellumix::linux_desktop
