#pragma once

#include <deque>
#include <memory>

#include "platform/foundation/coding/URL.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// Which files of entries are gone: neither in their place nor in the trash.
///
/// Main thread only. The disk is asked about one file after the other, and never by a look-up, which answers
/// at once: whoever asked while a view was evaluated is evaluated again when the answer has changed.
class MissingFiles {
public:
    static MissingFiles& shared();

    /// As far as is known: at first, and where nobody can tell, nothing is gone. An answer is asked for anew
    /// when it is `secondsKept` old.
    bool isGone(const URL& file);
    /// Drops what is known of a file.
    void forget(const URL& file);

    static constexpr double secondsKept = 5;
    /// For the disk to tell of one file; then it is the next one's turn.
    static constexpr double patience = 5;

private:
    struct Answer {
        bool isGone = false;
        /// By `RunLoop::uptime`.
        double time = 0;
    };

    void askLater();
    void askNext();
    void arrive(const URL& file, bool isGone);

    /// As many as the history has entries.
    NSCache<Answer> known{200, 0};
    /// The first one is being asked about.
    std::deque<URL> wanted;
    /// Of the questions; an answer to an earlier one comes too late.
    int number = 0;
    std::unique_ptr<NSTimer> deadline;
    Published<int> changes;
    Lifetime lifetime;
};

}  // namespace vellumix
