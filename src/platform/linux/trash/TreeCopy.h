#pragma once

#include <cstdint>
#include <string>

namespace vellumix::linux_desktop {

/// What a copy may cost.
struct TreeCopyLimits {
    /// Written in all; what shares its blocks with the original costs nothing.
    std::uint64_t bytes = 64 * 1024 * 1024;
    /// Files and folders in all.
    std::size_t entries = 20'000;
    double seconds = 3;
};

/// Makes `to`, whose folder exists and which doesn't, the same as the file or the folder `from`: by a clone
/// of the blocks where the file system can do that, by a copy as far as the limits go, and beyond them by a
/// hard link. In that order, as who writes to a hard link writes to the original. Symbolic links in a folder
/// stay what they are; pipes and devices are left out.
///
/// Blocking, any thread. False where that can't be had; then there may be parts of it.
bool copyTree(const std::string& from, const std::string& to, const TreeCopyLimits& limits = {});

}  // namespace vellumix::linux_desktop
