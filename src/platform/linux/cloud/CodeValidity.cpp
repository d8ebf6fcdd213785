#include "platform/linux/cloud/CodeValidity.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <vector>

#include "platform/foundation/files/FileSystem.h"

namespace vellumix::linux_desktop {

namespace {

constexpr std::size_t databaseBuffer = 16 * 1024;

bool isGroupOfThisUserAlone(gid_t group) {
    if (group == 0) return true;
    std::vector<char> userBuffer(databaseBuffer), groupBuffer(databaseBuffer);
    struct passwd userEntry {};
    struct passwd* user = nullptr;
    struct group groupEntry {};
    struct group* found = nullptr;
    if (::getpwuid_r(::geteuid(), &userEntry, userBuffer.data(), userBuffer.size(), &user) != 0 || !user ||
        ::getgrgid_r(group, &groupEntry, groupBuffer.data(), groupBuffer.size(), &found) != 0 || !found)
        return false;
    const std::string name = user->pw_name;
    if (user->pw_gid != group || name != found->gr_name) return false;
    for (char** member = found->gr_mem; *member; ++member) {
        if (name != *member) return false;
    }
    return true;
}

bool isOwn(const struct stat& facts) {
    return (facts.st_uid == 0 || facts.st_uid == ::geteuid()) &&
           (!(facts.st_mode & S_IWGRP) || isGroupOfThisUserAlone(facts.st_gid)) && !(facts.st_mode & S_IWOTH);
}

bool isGuarded(const struct stat& folder) {
    const bool isOfUser = folder.st_uid == 0 || folder.st_uid == ::geteuid();
    return isOwn(folder) || (isOfUser && folder.st_mode & S_ISVTX);
}

}  // namespace

bool isBeyondReachOfOthers(const std::string& path) {
    struct stat facts {};
    if (::lstat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode) || !isOwn(facts)) return false;
    for (auto folder = folderOf(path);; folder = folderOf(folder)) {
        if (::lstat(folder.c_str(), &facts) != 0 || !S_ISDIR(facts.st_mode) || !isGuarded(facts))
            return false;
        if (folder == "/") return true;
    }
}

bool isOwnCodeValid() {
    // The system's own note, in which there are no links.
    constexpr const char* ownProgram = "/proc/self/exe";
    std::array<char, PATH_MAX> place;
    const auto length = ::readlink(ownProgram, place.data(), place.size());
    if (length <= 0 || static_cast<std::size_t>(length) == place.size()) return false;
    const std::string path(place.data(), static_cast<std::size_t>(length));
    struct stat running {
    }, lying{};
    // Another file may have come in the place of what runs, by an update.
    return ::stat(ownProgram, &running) == 0 && ::lstat(path.c_str(), &lying) == 0 &&
           running.st_dev == lying.st_dev && running.st_ino == lying.st_ino && isBeyondReachOfOthers(path);
}

}  // namespace vellumix::linux_desktop
