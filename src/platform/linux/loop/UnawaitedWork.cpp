#include "platform/linux/loop/UnawaitedWork.h"

#include <mutex>
#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

/// The way back to the main thread, for as long as there is anybody to come back to.
struct UnawaitedWork::Mailbox {
    std::mutex mutex;
    RunLoop* runLoop = nullptr;

    void post(Work work) {
        const std::scoped_lock lock(mutex);
        if (runLoop) runLoop->post(std::move(work));
    }
};

UnawaitedWork::UnawaitedWork(RunLoop& runLoop) : mailbox(std::make_shared<Mailbox>()) {
    mailbox->runLoop = &runLoop;
}

UnawaitedWork::~UnawaitedWork() {
    const std::scoped_lock lock(mailbox->mutex);
    mailbox->runLoop = nullptr;
}

bool UnawaitedWork::begin(std::function<Answer()> work) {
    if (underWay >= limit) return false;
    auto whole = std::make_unique<Work>(
        [work = std::move(work), mailbox = this->mailbox,
         arrived = lifetime.weakly([this](const Answer& answer) {
             --underWay;
             answer();
         })] { mailbox->post([arrived, answer = work()]() mutable { arrived(answer); }); });
    auto* const handedOver = whole.release();
    auto* const thread = g_thread_try_new(
        "unawaited",
        [](gpointer data) -> gpointer {
            const std::unique_ptr<Work> own(static_cast<Work*>(data));
            (*own)();
            return nullptr;
        },
        handedOver, nullptr);
    if (!thread) {
        whole.reset(handedOver);
        return false;
    }
    g_thread_unref(thread);
    ++underWay;
    return true;
}

}  // namespace vellumix::linux_desktop
