#pragma once

#include <string>
#include <vector>

namespace vellumix::linux_desktop {

/// Starts this program anew with these arguments, in a session of its own: it lives on when the caller and
/// its terminal have gone. What it says is seen on the caller's terminal; whoever reads the caller's output
/// through a pipe gets the end of it when the caller ends. False when it could not be started.
bool startDetached(const std::vector<std::string>& arguments);
/// The same for another program, by its path.
bool startDetachedProgram(const std::string& program, const std::vector<std::string>& arguments);

}  // namespace vellumix::linux_desktop
