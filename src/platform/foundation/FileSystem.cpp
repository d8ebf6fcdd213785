#include "platform/foundation/FileSystem.h"

namespace vellumix {

namespace {

// One name, not a random one: there is one writer for a file, and the next start knows what to clear away.
std::string temporaryPath(const std::string& path) {
    const auto slash = path.rfind('/') + 1;
    return path.substr(0, slash) + '.' + path.substr(slash) + ".tmp";
}

}  // namespace

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::error_code writeAtomically(FileSystem& files, const std::string& path, ByteView content) {
    return writeAtomically(files, path, std::vector{content});
}

std::error_code writeAtomically(FileSystem& files, const std::string& path,
                                const std::vector<ByteView>& parts) {
    const auto temporary = temporaryPath(path);
    FileSystem::Handle handle{};
    if (const auto error = files.openForWriting(temporary, handle)) return error;
    std::error_code error;
    for (auto part = parts.begin(); !error && part != parts.end(); ++part) error = files.write(handle, *part);
    if (!error) error = files.sync(handle);
    const auto closeError = files.close(handle);
    if (!error) error = closeError;
    if (!error) error = files.rename(temporary, path);
    if (error) {
        files.remove(temporary);
        return error;
    }
    return files.syncFolder(folderOf(path));
}

void removeLeftovers(FileSystem& files, const std::string& path) {
    const auto temporary = temporaryPath(path);
    if (files.exists(temporary)) files.remove(temporary);
}

std::optional<std::string> moveAside(FileSystem& files, const std::string& path, const std::string& time) {
    if (!files.exists(path)) return std::string();
    const auto slash = path.rfind('/') + 1;
    const auto dot = path.find('.', slash);
    const auto stem = path.substr(0, dot) + ".unreadable-" + time;
    const auto extension = dot == std::string::npos ? std::string() : path.substr(dot);
    auto aside = stem + extension;
    for (int number = 2; files.exists(aside); ++number)
        aside = stem + '-' + std::to_string(number) + extension;
    if (files.rename(path, aside)) return std::nullopt;
    files.syncFolder(folderOf(path));
    return aside;
}

}  // namespace vellumix
