#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/desktop/LocalAuthentication.h"

namespace vellumix {

/// Asks the person at the machine to prove that they own it. Remembers nothing between calls. Main thread
/// only.
class AuthenticationManager {
public:
    struct Result {
        enum class Status {
            success,
            /// The user, the system or the program broke the question off.
            cancelled,
            /// The machine can't ask at all.
            unavailable,
            /// The answer was wrong, or what was to be opened is gone.
            failed,
        };
        Status status = Status::failed;
        /// Absent on success; may be absent on failure.
        std::optional<LAError> error;
    };
    using Reply = std::function<void(const Result&)>;

    /// `reason` is what the question says, already localised. Replies once, inside the call only where
    /// nothing had to be asked.
    void authenticate(const std::string& reason, Reply reply);
};

}  // namespace vellumix
