#pragma once

#include <string>

namespace vellumix::linux_desktop {

/// Whether nobody but this user and the superuser can change the file and put another in its place.
///
/// There is no signature that a system would check, so that the file's rights are what can be trusted. It and
/// every folder above must belong to this user or the superuser, and be writable by nobody else: a folder may
/// be writable by all where only the owner of a file can rename it (the sticky bit, as in /tmp), and by the
/// group in which this user is alone, as desktops with such groups make their folders.
bool isBeyondReachOfOthers(const std::string& path);

/// The same of the program that runs, where it still lies under its name. The environment has no say.
bool isOwnCodeValid();

}  // namespace vellumix::linux_desktop
