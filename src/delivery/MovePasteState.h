#pragma once

#include <mutex>
#include <utility>

#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

/// Whether the next paste of a file is to move it. Nobody arms it: a file that was cut lies in the trash, and
/// is pasted from there. Any thread, but for `shared`.
class MovePasteState {
public:
    static MovePasteState& shared() { return SharedInstances::current().get<MovePasteState>(); }

    /// Spends the state.
    bool take() {
        const std::lock_guard guard(lock);
        return std::exchange(flag, false);
    }

private:
    std::mutex lock;
    bool flag = false;
};

}  // namespace vellumix
