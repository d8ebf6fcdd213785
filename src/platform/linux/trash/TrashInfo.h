#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix::linux_desktop {

/// What a ".trashinfo" says of a trashed file (freedesktop.org, The FreeDesktop.org Trash specification 1.0,
/// "Contents of a trash directory"). Whoever can write to the trash may have written it: it may lie.
struct TrashInfo {
    /// In bytes: the longest path of Linux, each byte encoded, and as much again.
    static constexpr std::size_t limit = 24 * 1024;

    /// Where the file was, as it is written but for its percent sequences: absolute, or from the folder that
    /// the trash is in. Never empty, and without "..", which that specification forbids.
    std::string path;
    /// "YYYY-MM-DDThh:mm:ss" in local time, so that the later one is the greater; empty where it isn't that.
    std::string deletionDate;

    /// Nothing where there is no group, no path, or a path that no file can have.
    static std::optional<TrashInfo> parse(std::string_view text);
};

}  // namespace vellumix::linux_desktop
