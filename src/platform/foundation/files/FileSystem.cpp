#include "platform/foundation/files/FileSystem.h"

namespace vellumix {

namespace {

/// How many names a temporary file tries.
constexpr int temporaryNames = 4;

class OwnershipCategory final : public std::error_category {
public:
    const char* name() const noexcept override { return "ownership"; }
    std::string message(int) const override { return "It belongs to another user"; }
    std::error_condition default_error_condition(int) const noexcept override {
        return std::errc::permission_denied;
    }
};

// Known names, not random ones: there is one writer for a file, and the next start knows what to clear away.
std::string temporaryPath(const std::string& path, int number) {
    const auto slash = path.rfind('/') + 1;
    const auto suffix = number == 1 ? std::string() : std::to_string(number);
    return path.substr(0, slash) + '.' + path.substr(slash) + ".tmp" + suffix;
}

/// Where the file is; the path itself where its link leads to nothing that is ours to touch.
std::string placeOf(FileSystem& files, const std::string& path) {
    std::string place;
    return files.locate(path, place) ? path : place;
}

std::error_code openTemporary(FileSystem& files, const std::string& path, std::string& temporary,
                              FileSystem::Handle& handle) {
    std::error_code error;
    for (int number = 1; number <= temporaryNames; ++number) {
        temporary = temporaryPath(path, number);
        error = files.openNew(temporary, handle);
        // A file or a link goes, whoever made it; a folder may hold something, and stays.
        if (error == std::errc::file_exists && !files.remove(temporary))
            error = files.openNew(temporary, handle);
        if (error != std::errc::file_exists) break;
    }
    return error;
}

}  // namespace

std::error_code belongsToOther() {
    static const OwnershipCategory category;
    return {1, category};
}

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
    std::string place;
    std::string temporary;
    FileSystem::Handle handle{};
    auto error = files.locate(path, place);
    if (!error) error = openTemporary(files, place, temporary, handle);
    if (error) return error;
    for (auto part = parts.begin(); !error && part != parts.end(); ++part) error = files.write(handle, *part);
    if (!error) error = files.sync(handle);
    const auto closeError = files.close(handle);
    if (!error) error = closeError;
    if (!error) error = files.rename(temporary, place);
    if (error) {
        files.remove(temporary);
        return error;
    }
    return files.syncFolder(folderOf(place));
}

void removeLeftovers(FileSystem& files, const std::string& path) {
    const auto place = placeOf(files, path);
    for (int number = 1; number <= temporaryNames; ++number) {
        const auto temporary = temporaryPath(place, number);
        if (files.exists(temporary)) files.remove(temporary);
    }
}

std::optional<std::string> moveAside(FileSystem& files, const std::string& path, const std::string& time) {
    const auto place = placeOf(files, path);
    if (!files.exists(place)) return std::string();
    const auto slash = place.rfind('/') + 1;
    const auto dot = place.find('.', slash);
    const auto stem = place.substr(0, dot) + ".unreadable-" + time;
    const auto extension = dot == std::string::npos ? std::string() : place.substr(dot);
    auto aside = stem + extension;
    for (int number = 2; files.exists(aside); ++number)
        aside = stem + '-' + std::to_string(number) + extension;
    if (files.rename(place, aside)) return std::nullopt;
    files.syncFolder(folderOf(place));
    return aside;
}

}  // namespace vellumix
