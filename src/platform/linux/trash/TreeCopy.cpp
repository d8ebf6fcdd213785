#include "platform/linux/trash/TreeCopy.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <climits>
#include <string_view>
#include <vector>

#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

namespace {

using Clock = std::chrono::steady_clock;

class TreeCopy {
public:
    explicit TreeCopy(const TreeCopyLimits& limits)
        : bytesLeft(limits.bytes),
          entriesLeft(limits.entries),
          end(Clock::now() +
              std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(limits.seconds))) {}

    /// One entry of a folder: an open folder and a name in it, or a path.
    struct Place {
        int folder = AT_FDCWD;
        const char* name;
    };

    bool copy(Place from, Place to, int depth = 0) {
        struct stat facts {};
        if (entriesLeft == 0 || Clock::now() > end) return false;
        --entriesLeft;
        if (::fstatat(from.folder, from.name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return false;
        if (S_ISDIR(facts.st_mode)) return depth < deepest && copyFolder(from, to, facts, depth);
        if (S_ISLNK(facts.st_mode)) return copyLink(from, to);
        return !S_ISREG(facts.st_mode) || copyFile(from, to, facts);
    }

private:
    static constexpr int deepest = 100;

    static posix::Descriptor open(Place place, int flags) {
        return posix::Descriptor(::openat(place.folder, place.name,
                                          flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR));
    }

    static void takeOver(int copy, const struct stat& facts, mode_t atLeast) {
        const std::array times{facts.st_atim, facts.st_mtim};
        // A copy that is open to more or fewer, or that looks newer, is one all the same.
        if (::fchmod(copy, (facts.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) | atLeast) == 0)
            ::futimens(copy, times.data());
    }

    bool copyFolder(Place from, Place to, const struct stat& facts, int depth) {
        auto original = open(from, O_RDONLY | O_DIRECTORY);
        if (!original || ::mkdirat(to.folder, to.name, S_IRWXU) != 0) return false;
        const auto copy = open(to, O_RDONLY | O_DIRECTORY);
        const int originalNumber = original.get();
        const auto listing = posix::listFolder(std::move(original));
        if (!copy || !listing) return false;
        while (const auto* entry = ::readdir(listing.get())) {
            const std::string_view name(entry->d_name);
            if (name == "." || name == "..") continue;
            if (!this->copy({originalNumber, entry->d_name}, {copy.get(), entry->d_name}, depth + 1))
                return false;
        }
        // The owner must be able to remove it again.
        takeOver(copy.get(), facts, S_IRWXU);
        return true;
    }

    static bool copyLink(Place from, Place to) {
        std::array<char, PATH_MAX> target;
        const auto length = ::readlinkat(from.folder, from.name, target.data(), target.size() - 1);
        if (length < 0) return false;
        target[static_cast<std::size_t>(length)] = '\0';
        return ::symlinkat(target.data(), to.folder, to.name) == 0;
    }

    bool copyFile(Place from, Place to, const struct stat& facts) {
        const auto original = open(from, O_RDONLY);
        if (original) {
            const auto copy = open(to, O_WRONLY | O_CREAT | O_EXCL);
            if (!copy) return false;
            if (::ioctl(copy.get(), FICLONE, original.get()) == 0 ||
                copyBytes(original.get(), copy.get(), facts)) {
                takeOver(copy.get(), facts, 0);
                return true;
            }
            if (::unlinkat(to.folder, to.name, 0) != 0) return false;
        }
        return ::linkat(from.folder, from.name, to.folder, to.name, 0) == 0;
    }

    bool copyBytes(int original, int copy, const struct stat& facts) {
        if (static_cast<std::uint64_t>(facts.st_size) > bytesLeft) return false;
        buffer.resize(std::size_t{256} * 1024);
        for (;;) {
            const auto count = ::read(original, buffer.data(), buffer.size());
            if (count <= 0) return count == 0;
            const auto size = static_cast<std::uint64_t>(count);
            // It may have grown.
            if (size > bytesLeft || Clock::now() > end) return false;
            bytesLeft -= size;
            if (::write(copy, buffer.data(), size) != count) return false;
        }
    }

    std::uint64_t bytesLeft;
    std::size_t entriesLeft;
    const Clock::time_point end;
    std::vector<char> buffer;
};

}  // namespace

bool copyTree(const std::string& from, const std::string& to, const TreeCopyLimits& limits) {
    return TreeCopy(limits).copy({.name = from.c_str()}, {.name = to.c_str()});
}

}  // namespace vellumix::linux_desktop
