#include "platform/linux/trash/TrashCans.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/foundation/files/FileSystem.h"
#include "platform/linux/files/PosixHandles.h"
#include "platform/linux/trash/TrashInfo.h"

namespace vellumix::linux_desktop {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view infoEnding = ".trashinfo";

std::string within(const std::string& folder, std::string_view name) {
    return (folder == "/" ? std::string() : folder) + '/' + std::string(name);
}

/// The path without the symbolic links that are in its folder now; as it is where that can't be told.
std::string withoutLinks(const std::string& path) {
    std::array<char, PATH_MAX> real;
    // The folder may have gone with the file.
    for (auto slash = path.rfind('/'); slash != std::string::npos; slash = path.rfind('/', slash - 1)) {
        const auto folder = slash == 0 ? "/" : path.substr(0, slash);
        if (::realpath(folder.c_str(), real.data())) {
            const std::string found(real.data());
            return (found == "/" ? "" : found) + path.substr(slash);
        }
        if (slash == 0) break;
    }
    return path;
}

std::string nearestFolder(std::string path) {
    struct stat facts {};
    do path = folderOf(path);
    while (path.size() > 1 && (::stat(path.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode)));
    return path;
}

posix::Descriptor openOwnFolder(int parent, const std::string& path, int flags = O_NOFOLLOW) {
    posix::Descriptor folder(
        ::openat(parent, path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | flags));
    struct stat facts {};
    const bool isOwn = folder && ::fstat(folder.get(), &facts) == 0 && facts.st_uid == ::geteuid();
    return isOwn ? std::move(folder) : posix::Descriptor();
}

/// One look through the trash cans for a path.
class Search {
public:
    Search(const std::string& path, std::size_t mostEntries, double seconds)
        : paths{path, withoutLinks(path)},
          stem(stemOf(path)),
          entriesLeft(mostEntries),
          end(Clock::now() +
              std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))) {}

    const std::string& realPath() const { return paths[1]; }
    std::optional<std::string> result() const {
        return best.path.empty() ? std::nullopt : std::optional(best.path);
    }

    /// A trash that lies in `base`. Only the user's own may hold files from elsewhere, by absolute paths.
    void lookInto(const std::string& can, const std::string& base, bool isUsersOwn) {
        // A person may keep their trash elsewhere, but where others write no link is followed.
        const auto folder = openOwnFolder(AT_FDCWD, can, isUsersOwn ? 0 : O_NOFOLLOW);
        const auto infos = folder ? openOwnFolder(folder.get(), "info") : posix::Descriptor();
        const auto files = infos ? openOwnFolder(folder.get(), "files") : posix::Descriptor();
        if (!files) return;
        // Programs name what they trash after the file. Those come first, in case that there is no time for
        // all.
        for (const bool isNamedAlike : {true, false}) {
            const auto listing = posix::listFolder(openOwnFolder(infos.get(), "."));
            while (const auto* entry = listing ? ::readdir(listing.get()) : nullptr) {
                std::string_view name(entry->d_name);
                if (!name.ends_with(infoEnding) || name.starts_with(stem) != isNamedAlike) continue;
                if (entriesLeft == 0 || Clock::now() > end) return;
                --entriesLeft;
                name.remove_suffix(infoEnding.size());
                consider(infos.get(), files.get(), std::string(name), can, base, isUsersOwn);
            }
        }
    }

private:
    struct Candidate {
        std::string deletionDate;
        /// When its ".trashinfo" was written: of two deletions in one second, the later.
        std::pair<std::int64_t, std::int64_t> written;
        std::string path;
    };

    /// Behind it comes a number or an ending.
    static std::string stemOf(const std::string& path) {
        constexpr std::size_t longest = 32;
        const auto name = path.substr(path.rfind('/') + 1);
        return name.substr(0, std::min(name.find('.'), longest));
    }

    void consider(int infos, int files, const std::string& name, const std::string& can,
                  const std::string& base, bool isUsersOwn) {
        struct stat facts {};
        const auto info = read(infos, name + std::string(infoEnding), facts);
        if (!info || (info->path.starts_with('/') && !isUsersOwn)) return;
        const auto place = info->path.starts_with('/') ? info->path : within(base, info->path);
        if (place != paths[0] && place != paths[1]) return;
        Candidate found{.deletionDate = info->deletionDate,
                        .written = {facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec},
                        .path = within(within(can, "files"), name)};
        if (!best.path.empty() &&
            std::tie(found.deletionDate, found.written) <= std::tie(best.deletionDate, best.written))
            return;
        const bool isWhatItSays = ::fstatat(files, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
                                  (S_ISREG(facts.st_mode) || S_ISDIR(facts.st_mode)) &&
                                  facts.st_uid == ::geteuid();
        if (isWhatItSays) best = std::move(found);
    }

    std::optional<TrashInfo> read(int infos, const std::string& name, struct stat& facts) {
        const posix::Descriptor file(
            ::openat(infos, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return std::nullopt;
        if (facts.st_uid != ::geteuid() || facts.st_size > static_cast<off_t>(buffer.size()))
            return std::nullopt;
        const auto length = ::read(file.get(), buffer.data(), buffer.size());
        if (length <= 0) return std::nullopt;
        return TrashInfo::parse({buffer.data(), static_cast<std::size_t>(length)});
    }

    const std::array<std::string, 2> paths;
    const std::string stem;
    std::size_t entriesLeft;
    const Clock::time_point end;
    std::array<char, TrashInfo::limit> buffer;
    Candidate best;
};

}  // namespace

std::string topFolderOf(const std::string& folder) {
    struct stat facts {};
    auto top = folder;
    if (::stat(top.c_str(), &facts) != 0) return top;
    const auto device = facts.st_dev;
    while (top.size() > 1) {
        auto above = folderOf(top);
        if (::stat(above.c_str(), &facts) != 0 || facts.st_dev != device) break;
        top = std::move(above);
    }
    return top;
}

std::optional<std::string> TrashCans::find(const std::string& path) const {
    if (!path.starts_with('/')) return std::nullopt;
    Search search(path, options.mostEntries, options.seconds);
    search.lookInto(within(options.dataHome, "Trash"), options.dataHome, true);
    const auto top = options.topFolderOf(nearestFolder(search.realPath()));
    const auto user = std::to_string(::geteuid());
    // "Trash directories": one that others write to counts only as the administrator made it.
    struct stat facts {};
    const auto shared = within(top, ".Trash");
    if (::lstat(shared.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode) && (facts.st_mode & S_ISVTX))
        search.lookInto(within(shared, user), top, false);
    search.lookInto(within(top, ".Trash-" + user), top, false);
    return search.result();
}

}  // namespace vellumix::linux_desktop
