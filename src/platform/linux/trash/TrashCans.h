#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vellumix::linux_desktop {

/// The top folder of the mount that an existing folder, without symbolic links in its path, is on.
std::string topFolderOf(const std::string& folder);

/// Finds trashed files by where they were (The FreeDesktop.org Trash specification 1.0): in the user's own
/// trash, and in those of the mount that the file was on, "$topdir/.Trash/$uid" and "$topdir/.Trash-$uid".
///
/// Blocking, any thread; reads alone. What isn't the user's is passed over: a trash, a ".trashinfo" or a file
/// that belongs to another, or that a symbolic link stands in for.
class TrashCans {
public:
    struct Options {
        /// `$XDG_DATA_HOME`, in which the user's own trash is.
        std::string dataHome;
        std::function<std::string(const std::string& folder)> topFolderOf = linux_desktop::topFolderOf;
        /// In all trash cans. When there are more, or no more time, the best of what was seen is the answer.
        std::size_t mostEntries = 500'000;
        double seconds = 3;
    };

    explicit TrashCans(Options options) : options(std::move(options)) {}

    /// The path, in a trash, of what was last deleted from that absolute path; nothing where there is none.
    std::optional<std::string> find(const std::string& path) const;

private:
    Options options;
};

}  // namespace vellumix::linux_desktop
