#pragma once

#include <functional>
#include <optional>

#include "platform/foundation/coding/URL.h"

namespace vellumix {

/// The desktop's trash, from which nothing is ever taken, moved or changed here.
///
/// Main thread only. Nothing here waits for a disk: each answer comes once, from the main loop and never
/// inside the call, and not at all as long as a disk or a server doesn't answer. The caller bounds its wait.
class Trash {
public:
    /// What a program can be given for a file that is in the trash.
    struct Offer {
        URL file;
        /// False where no copy could be made, and the file comes with the name that it has in the trash.
        bool hasItsName = true;
    };

    virtual ~Trash() = default;
    /// Whether anything is in the file's place. True also where that can't be told.
    virtual void isThere(const URL& file, std::function<void(bool)> answer) = 0;
    /// Whether the trash holds what was in that place. True also where that can't be told.
    virtual void holds(const URL& file, std::function<void(bool)> answer) = 0;
    /// Gives what was in that place, as it was when it was last moved to the trash, under its name; nothing
    /// where the trash doesn't hold it. It stays until `release`, and no longer than the program.
    virtual void offer(const URL& file, std::function<void(std::optional<Offer>)> answer) = 0;
    /// Nobody will ask any more for what was offered.
    virtual void release() = 0;
};

}  // namespace vellumix
