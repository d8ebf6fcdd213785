#pragma once

#include <set>
#include <string>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/observation/Published.h"
#include "platform/linux/loop/UnawaitedWork.h"

namespace vellumix::linux_desktop {

/// Tells folders from files without waiting for a disk. Main thread.
///
/// A mount whose server has gone may keep whoever looks at it waiting for ever: nobody waits for that.
class FolderLookup {
public:
    /// The run loop must outlive this.
    explicit FolderLookup(RunLoop& runLoop);

    /// As far as is known: at first nothing is a folder. Whoever asked while a view was evaluated is
    /// evaluated again when the answer has changed.
    bool isFolder(const std::string& path);

private:
    struct Answer {
        bool isFolder = false;
        /// By `RunLoop::uptime`.
        double time = 0;
    };
    void lookAt(const std::string& path);
    void arrive(const std::string& path, bool isFolder);

    RunLoop& runLoop;
    NSCache<Answer> known;
    std::set<std::string> pending;
    /// Who was turned away asks again after the next answer.
    bool hasTurnedAway = false;
    Published<int> changes;
    UnawaitedWork looking;
};

}  // namespace vellumix::linux_desktop
