#include "platform/linux/trash/SharedTrash.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <utility>

#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/loop/Log.h"

namespace vellumix::linux_desktop {

namespace {

constexpr Log trashLog("Trash");
constexpr std::string_view prefix = "offered-";

/// One at a time: who removes what another is removing fails.
std::mutex removing;

void removeAll(const std::string& path) {
    const std::scoped_lock lock(removing);
    std::error_code error;
    std::filesystem::remove_all(path, error);
    if (error) trashLog.error("A copy of a trashed file could not be removed");
}

void removeLeftovers(const std::string& privateFolder, const std::string& own) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(privateFolder, error)) {
        const auto path = entry.path().string();
        if (entry.path().filename().string().starts_with(prefix) && path != own) removeAll(path);
    }
}

bool isThereAt(const std::string& path) {
    struct stat facts {};
    // What may not be looked at may be there.
    return ::lstat(path.c_str(), &facts) == 0 || (errno != ENOENT && errno != ENOTDIR);
}

}  // namespace

SharedTrash::SharedTrash(RunLoop& runLoop, FileSystem& files, std::string privateFolder,
                         TrashCans::Options options, TreeCopyLimits limits)
    : runLoop(runLoop),
      files(files),
      cans(std::move(options)),
      limits(limits),
      folder(privateFolder + '/' + std::string(prefix) + UUID::random().uuidString()),
      looking(runLoop) {
    runLoop.background(
        [privateFolder = std::move(privateFolder), own = folder] { removeLeftovers(privateFolder, own); });
}

SharedTrash::~SharedTrash() {
    if (copies > 0) removeAll(folder);
}

template <class T>
void SharedTrash::look(std::function<T()> look, T otherwise, std::function<void(T)> answer) {
    const bool isBegun = looking.begin([look = std::move(look), answer]() -> UnawaitedWork::Answer {
        return [answer, seen = look()] { answer(seen); };
    });
    if (!isBegun) runLoop.post([answer, otherwise] { answer(otherwise); });
}

void SharedTrash::isThere(const URL& file, std::function<void(bool)> answer) {
    look<bool>([path = file.path()] { return isThereAt(path); }, true, std::move(answer));
}

void SharedTrash::holds(const URL& file, std::function<void(bool)> answer) {
    look<bool>([path = file.path(), cans = cans] { return cans.find(path).has_value(); }, true,
               std::move(answer));
}

void SharedTrash::offer(const URL& file, std::function<void(std::optional<Offer>)> answer) {
    const auto place = folder + '/' + std::to_string(++copies);
    if (files.makeFolder(place)) trashLog.error("There is no place for a copy of a trashed file");
    const auto make = [path = file.path(), name = file.lastPathComponent(), place, cans = cans,
                       limits = limits]() -> std::optional<Offer> {
        const auto trashed = cans.find(path);
        if (!trashed) return std::nullopt;
        const auto copy = place + '/' + name;
        if (copyTree(*trashed, copy, limits)) return Offer{.file = URL::file(copy)};
        // What is too large for a copy comes from where it is, mostly under its own name.
        trashLog.error("No copy of a trashed file could be made");
        removeAll(copy);
        return Offer{.file = URL::file(*trashed), .hasItsName = trashed->ends_with('/' + name)};
    };
    look<std::optional<Offer>>(make, std::nullopt, std::move(answer));
}

void SharedTrash::release() {
    while (released < copies) {
        runLoop.background([place = folder + '/' + std::to_string(++released)] { removeAll(place); });
    }
}

}  // namespace vellumix::linux_desktop
