#pragma once

#include <string>
#include <vector>

namespace vellumix::linux_desktop {

/// Starts this program anew with these arguments, in a session of its own: it lives on when the caller and
/// its terminal have gone. It keeps the standard output and error of the caller, so that what it says at its
/// start is seen. False when it could not be started.
bool startDetached(const std::vector<std::string>& arguments);

}  // namespace vellumix::linux_desktop
