#include "platform/linux/images/FolderLookup.h"

#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

/// More than the history has entries.
constexpr std::size_t knownLimit = 400;
/// Until a path is looked at again when it is asked about.
constexpr double secondsKept = 5;

}  // namespace

FolderLookup::FolderLookup(RunLoop& runLoop) : runLoop(runLoop), known(knownLimit, 0), looking(runLoop) {}

bool FolderLookup::isFolder(const std::string& path) {
    changes.get();
    const auto known = this->known.objectForKey(path);
    if (!known || runLoop.uptime() - known->time > secondsKept) lookAt(path);
    return known && known->isFolder;
}

void FolderLookup::lookAt(const std::string& path) {
    if (pending.contains(path)) return;
    const bool isBegun = looking.begin([this, path]() -> UnawaitedWork::Answer {
        const bool isFolder = g_file_test(path.c_str(), G_FILE_TEST_IS_DIR);
        return [this, path, isFolder] { arrive(path, isFolder); };
    });
    isBegun ? void(pending.insert(path)) : void(hasTurnedAway = true);
}

void FolderLookup::arrive(const std::string& path, bool isFolder) {
    pending.erase(path);
    const auto known = this->known.objectForKey(path);
    const bool wasFolder = known && known->isFolder;
    this->known.setObject(
        std::make_shared<const Answer>(Answer{.isFolder = isFolder, .time = runLoop.uptime()}), path);
    const bool isAwaited = std::exchange(hasTurnedAway, false);
    if (isFolder != wasFolder || isAwaited) this->changes.update([](int& changes) { ++changes; });
}

}  // namespace vellumix::linux_desktop
