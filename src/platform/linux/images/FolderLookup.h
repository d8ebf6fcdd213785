#pragma once

#include <memory>
#include <set>
#include <string>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix::linux_desktop {

/// Tells folders from files without waiting for a disk. Main thread.
///
/// A mount whose server has gone may keep whoever looks at it waiting for ever: each path is looked at on a
/// thread of its own, which nobody waits for, not even the end of the program.
class FolderLookup {
public:
    /// The run loop must outlive this.
    explicit FolderLookup(RunLoop& runLoop);
    ~FolderLookup();
    FolderLookup(const FolderLookup&) = delete;
    FolderLookup& operator=(const FolderLookup&) = delete;

    /// As far as is known: at first nothing is a folder. Whoever asked while a view was evaluated is
    /// evaluated again when the answer has changed.
    bool isFolder(const std::string& path);

private:
    struct Answer {
        bool isFolder = false;
        /// By `RunLoop::uptime`.
        double time = 0;
    };
    struct Mailbox;

    void lookAt(const std::string& path);
    void arrive(const std::string& path, bool isFolder);

    RunLoop& runLoop;
    NSCache<Answer> known;
    std::set<std::string> pending;
    bool hasTurnedAway = false;
    Published<int> changes;
    std::shared_ptr<Mailbox> mailbox;
    Lifetime lifetime;
};

}  // namespace vellumix::linux_desktop
