#pragma once

#include <string>

namespace vellumix::linux_desktop {

/// Shows a message in the desktop's own way (Desktop Notifications Specification 1.2, "Notify"), above what
/// the user is at. Returns at once; where nobody shows messages, this one is lost. Main thread.
void notifyUser(const std::string& title, const std::string& body);

}  // namespace vellumix::linux_desktop
