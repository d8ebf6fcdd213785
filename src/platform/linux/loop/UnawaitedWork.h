#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix::linux_desktop {

/// Work that may never end, as a mount whose server has gone may keep whoever looks at it waiting for ever:
/// each on a thread of its own, which nobody waits for, not even the end of the program. Main thread.
class UnawaitedWork {
public:
    /// Runs on the main thread when the work has been done.
    using Answer = std::function<void()>;

    /// The run loop must outlive this.
    explicit UnawaitedWork(RunLoop& runLoop);
    ~UnawaitedWork();
    UnawaitedWork(const UnawaitedWork&) = delete;
    UnawaitedWork& operator=(const UnawaitedWork&) = delete;

    /// False, with nothing begun, where `limit` of them are under way or there is no thread. The work refers
    /// to nothing that could go before it, and returns what is done with its result, unless this has gone
    /// then.
    bool begin(std::function<Answer()> work);

    /// Threads. Behind this many dead mounts, nothing more is begun.
    static constexpr std::size_t limit = 16;

private:
    struct Mailbox;

    std::size_t underWay = 0;
    std::shared_ptr<Mailbox> mailbox;
    Lifetime lifetime;
};

}  // namespace vellumix::linux_desktop
