#include "platform/linux/images/FolderLookup.h"

#include <mutex>
#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

/// More than the history has entries.
constexpr std::size_t knownLimit = 400;
/// Threads. Who is turned away asks again after the next answer; behind this many dead mounts, nobody does.
constexpr std::size_t pendingLimit = 16;
/// Until a path is looked at again when it is asked about.
constexpr double secondsKept = 5;

}  // namespace

/// The way back to the main thread, for as long as there is anybody to come back to.
struct FolderLookup::Mailbox {
    std::mutex mutex;
    RunLoop* runLoop = nullptr;

    void post(Work work) {
        const std::scoped_lock lock(mutex);
        if (runLoop) runLoop->post(std::move(work));
    }
};

FolderLookup::FolderLookup(RunLoop& runLoop)
    : runLoop(runLoop), known(knownLimit, 0), mailbox(std::make_shared<Mailbox>()) {
    mailbox->runLoop = &runLoop;
}

FolderLookup::~FolderLookup() {
    const std::scoped_lock lock(mailbox->mutex);
    mailbox->runLoop = nullptr;
}

bool FolderLookup::isFolder(const std::string& path) {
    changes.get();
    const auto known = this->known.objectForKey(path);
    if (!known || runLoop.uptime() - known->time > secondsKept) lookAt(path);
    return known && known->isFolder;
}

void FolderLookup::lookAt(const std::string& path) {
    if (pending.contains(path)) return;
    if (pending.size() >= pendingLimit) {
        hasTurnedAway = true;
        return;
    }
    auto work = std::make_unique<Work>(
        [path, mailbox = this->mailbox,
         arrived = lifetime.weakly([this, path](bool isFolder) { arrive(path, isFolder); })] {
            const bool isFolder = g_file_test(path.c_str(), G_FILE_TEST_IS_DIR);
            mailbox->post([arrived, isFolder]() mutable { arrived(isFolder); });
        });
    auto* const handedOver = work.release();
    auto* const thread = g_thread_try_new(
        "folder-lookup",
        [](gpointer data) -> gpointer {
            const std::unique_ptr<Work> own(static_cast<Work*>(data));
            (*own)();
            return nullptr;
        },
        handedOver, nullptr);
    if (!thread) return work.reset(handedOver);
    pending.insert(path);
    g_thread_unref(thread);
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
