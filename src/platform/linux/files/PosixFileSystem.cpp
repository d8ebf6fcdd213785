#include "platform/linux/files/PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <new>

#include "platform/foundation/promises/Describing.h"
#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

namespace {

constexpr mode_t ownersFile = S_IRUSR | S_IWUSR;
constexpr mode_t ownersFolder = S_IRWXU;
// As many as the system follows (path_resolution(7)).
constexpr int mostLinks = 40;
// What a file has gained since it was measured is read in steps of this size.
constexpr std::size_t growthStep = 64 * 1024;

std::error_code failure(int number) { return {number, std::generic_category()}; }
std::error_code lastFailure() { return failure(errno); }
std::error_code resultOf(int returned) { return returned == 0 ? std::error_code() : lastFailure(); }

template <class Call>
auto uninterrupted(Call call) {
    decltype(call()) returned;
    do returned = call();
    while (returned < 0 && errno == EINTR);
    return returned;
}

/// Whoever owns a folder can put another file there. The superuser can do that anywhere, and file systems
/// that know no owners show theirs as the superuser's.
bool isTrustworthy(const struct stat& folder) { return folder.st_uid == ::geteuid() || folder.st_uid == 0; }

std::error_code followLink(std::string& path) {
    std::array<char, PATH_MAX> target;
    const auto length = ::readlink(path.c_str(), target.data(), target.size());
    if (length < 0) return lastFailure();
    if (static_cast<std::size_t>(length) == target.size()) return failure(ENAMETOOLONG);
    const std::string text(target.data(), static_cast<std::size_t>(length));
    path = text.starts_with('/') ? text : folderOf(path) + '/' + text;
    return {};
}

/// Opens a regular file and nothing else. Without blocking, as a pipe in its place would wait for its other
/// end.
std::error_code openRegular(const std::string& path, int flags, posix::Descriptor& file, struct stat& facts) {
    file = posix::Descriptor(uninterrupted([&] {
        return ::open(path.c_str(), flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, ownersFile);
    }));
    if (!file || ::fstat(file.get(), &facts) != 0) return lastFailure();
    if (S_ISREG(facts.st_mode)) return {};
    return failure(S_ISDIR(facts.st_mode) ? EISDIR : EINVAL);
}

std::error_code openOwners(const std::string& path, int flags, FileSystem::Handle& handle) {
    posix::Descriptor file;
    struct stat facts {};
    if (const auto error = openRegular(path, O_WRONLY | O_CREAT | flags, file, facts)) return error;
    // Also what the umask took away or an earlier file allowed.
    if (::fchmod(file.get(), ownersFile) != 0) return lastFailure();
    handle = file.release();
    return {};
}

/// Reads until the buffer is full or the file ends; `filled` says how far it came.
std::error_code fill(int file, Bytes& content, std::size_t& filled) {
    while (filled < content.size()) {
        const auto count =
            uninterrupted([&] { return ::read(file, content.data() + filled, content.size() - filled); });
        if (count < 0) return lastFailure();
        if (count == 0) return {};
        filled += static_cast<std::size_t>(count);
    }
    return {};
}

std::error_code readAll(const posix::Descriptor& file, std::size_t expected, std::size_t limit,
                        Bytes& content) {
    if (expected > limit) return failure(EFBIG);
    std::size_t filled = 0;
    // One byte more than the file has, so that its end is seen without a second buffer.
    content.resize(expected + 1);
    for (;;) {
        if (const auto error = fill(file.get(), content, filled)) return error;
        if (filled > limit) return failure(EFBIG);
        if (filled < content.size()) break;
        content.resize(content.size() + growthStep);
    }
    content.resize(filled);
    return {};
}

std::error_code makeOneFolder(const std::string& path) {
    // The mode again, as the umask takes from what mkdir is given.
    if (::mkdir(path.c_str(), ownersFolder) == 0) return resultOf(::chmod(path.c_str(), ownersFolder));
    const int reason = errno;
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0) return failure(reason);
    return S_ISDIR(facts.st_mode) ? std::error_code() : failure(ENOTDIR);
}

std::error_code checkFolder(const std::string& path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0) return lastFailure();
    return isTrustworthy(facts) ? std::error_code() : belongsToOther();
}

}  // namespace

std::error_code PosixFileSystem::locate(const std::string& path, std::string& place) {
    assertNotDescribing("a file was located");
    place = path;
    struct stat facts {};
    bool isThere = ::lstat(place.c_str(), &facts) == 0;
    for (int links = 0; isThere && S_ISLNK(facts.st_mode); ++links) {
        if (links == mostLinks) return failure(ELOOP);
        if (const auto error = followLink(place)) return error;
        isThere = ::lstat(place.c_str(), &facts) == 0;
    }
    if (!isThere && errno != ENOENT) return lastFailure();
    if (isThere && place != path) {
        if (!S_ISREG(facts.st_mode)) return failure(S_ISDIR(facts.st_mode) ? EISDIR : EINVAL);
        if (facts.st_uid != ::geteuid()) return belongsToOther();
    }
    return checkFolder(folderOf(place));
}

std::error_code PosixFileSystem::read(const std::string& path, std::size_t limit, Bytes& content) {
    assertNotDescribing("a file was read");
    content.clear();
    std::string place;
    posix::Descriptor file;
    struct stat facts {};
    auto error = locate(path, place);
    if (!error) error = openRegular(place, O_RDONLY, file, facts);
    try {
        if (!error) error = readAll(file, static_cast<std::size_t>(facts.st_size), limit, content);
    } catch (const std::bad_alloc&) {
        error = failure(ENOMEM);
    }
    if (error) content = Bytes();
    return error;
}

std::error_code PosixFileSystem::openForWriting(const std::string& path, Handle& handle) {
    assertNotDescribing("a file was opened");
    return openOwners(path, O_TRUNC, handle);
}

std::error_code PosixFileSystem::openNew(const std::string& path, Handle& handle) {
    assertNotDescribing("a file was opened");
    return openOwners(path, O_EXCL, handle);
}

std::error_code PosixFileSystem::write(Handle handle, ByteView bytes) {
    while (!bytes.empty()) {
        const auto count = uninterrupted([&] { return ::write(handle, bytes.data(), bytes.size()); });
        if (count < 0) return lastFailure();
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return {};
}

std::error_code PosixFileSystem::sync(Handle handle) {
    return resultOf(uninterrupted([&] { return ::fsync(handle); }));
}

std::error_code PosixFileSystem::close(Handle handle) {
    // Linux has closed the descriptor also when it says EINTR.
    return posix::Descriptor(handle).end() || errno == EINTR ? std::error_code() : lastFailure();
}

std::error_code PosixFileSystem::rename(const std::string& from, const std::string& to) {
    assertNotDescribing("a file was renamed");
    return resultOf(std::rename(from.c_str(), to.c_str()));
}

std::error_code PosixFileSystem::syncFolder(const std::string& path) {
    const posix::Descriptor folder(
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!folder) return lastFailure();
    const auto error = sync(folder.get());
    // Some network and user-space file systems have no such operation; they order the entries themselves.
    return error == std::errc::invalid_argument ? std::error_code() : error;
}

std::error_code PosixFileSystem::remove(const std::string& path) {
    assertNotDescribing("a file was removed");
    return resultOf(::unlink(path.c_str()));
}

std::error_code PosixFileSystem::makeFolder(const std::string& path) {
    assertNotDescribing("a file was made");
    for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        if (const auto error = makeOneFolder(path.substr(0, end))) return error;
    if (path.empty()) return failure(ENOENT);
    const auto error = makeOneFolder(path);
    return error ? error : checkFolder(path);
}

std::error_code PosixFileSystem::makePrivate(const std::string& path, bool& wasOpen) {
    assertNotDescribing("a file was changed");
    wasOpen = false;
    std::string place;
    posix::Descriptor file;
    struct stat facts {};
    auto error = locate(path, place);
    if (!error) error = openRegular(place, O_RDONLY, file, facts);
    if (error) return error;
    wasOpen = (facts.st_mode & (S_IRWXG | S_IRWXO)) != 0;
    return wasOpen ? resultOf(::fchmod(file.get(), facts.st_mode & S_IRWXU)) : std::error_code();
}

bool PosixFileSystem::exists(const std::string& path) {
    assertNotDescribing("a file was looked for");
    struct stat facts {};
    return ::lstat(path.c_str(), &facts) == 0;
}

}  // namespace vellumix::linux_desktop
