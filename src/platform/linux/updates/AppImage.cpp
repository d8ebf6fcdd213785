#include "platform/linux/updates/AppImage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>

namespace vellumix::linux_desktop {

namespace {

/// The head of an ELF file, with what marks a type 2 AppImage in its bytes 8 to 10.
bool isAppImage(ByteView head) {
    constexpr std::size_t markStart = 8;
    return head.size() >= markStart + 3 &&
           asText(head.first(4)) ==
               "\x7F"
               "ELF" &&
           asText(head.subspan(markStart, 3)) == "AI\x02";
}

Bytes headOf(const std::string& path) {
    Bytes head(16);
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(file.gcount()));
    return head;
}

/// Without links; empty where there is no such file.
std::string realPath(const std::string& path) {
    std::array<char, PATH_MAX> resolved;
    return ::realpath(path.c_str(), resolved.data()) ? resolved.data() : std::string();
}

/// Beside the file, as only a rename within its file system happens at once.
std::string temporaryPath(const std::string& path) {
    const auto name = path.rfind('/') + 1;
    return path.substr(0, name) + '.' + path.substr(name) + ".vellumix-update";
}

}  // namespace

std::optional<AppImage> AppImage::running(FileSystem& files, const Paths::Environment& environment,
                                          const std::string& executable) {
    const char* const file = environment("APPIMAGE");
    const char* const folder = environment("APPDIR");
    if (!file || !folder || *file != '/' || *folder != '/') return std::nullopt;
    const auto mounted = realPath(folder);
    if (mounted.empty() || mounted == "/" || !realPath(executable).starts_with(mounted + '/'))
        return std::nullopt;
    struct stat facts {};
    std::string place;
    const std::string path = file;
    const bool isOwn = ::lstat(path.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) &&
                       facts.st_uid == ::geteuid() && !files.locate(path, place);
    if (!isOwn || !isAppImage(headOf(path))) return std::nullopt;
    return AppImage(path);
}

std::optional<AppImage> AppImage::running(FileSystem& files) {
    auto found = running(files, ::getenv, "/proc/self/exe");
    // Of a start that was killed while it replaced the file.
    if (found) files.remove(temporaryPath(found->path_));
    return found;
}

bool AppImage::replace(FileSystem& files, ByteView content) const {
    struct stat facts {};
    if (!isAppImage(content) || ::stat(path_.c_str(), &facts) != 0) return false;
    const auto temporary = temporaryPath(path_);
    FileSystem::Handle handle{};
    files.remove(temporary);
    if (files.openNew(temporary, handle)) return false;
    bool isWritten = !files.write(handle, content) && !files.sync(handle);
    if (files.close(handle)) isWritten = false;
    constexpr mode_t rights = S_IRWXU | S_IRWXG | S_IRWXO;
    isWritten = isWritten && ::chmod(temporary.c_str(), (facts.st_mode & rights) | S_IXUSR) == 0 &&
                !files.rename(temporary, path_);
    if (!isWritten) files.remove(temporary);
    // The new file is in its place, even if a power cut now could bring the old one back.
    if (isWritten) files.syncFolder(folderOf(path_));
    return isWritten;
}

}  // namespace vellumix::linux_desktop
