#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/desktop/LocalAuthentication.h"

namespace vellumix {

/// Asks the person at the machine to prove that they own it. Remembers nothing between calls, and neither
/// queues nor merges them: two calls are two prompts. Main thread only.
class AuthenticationManager {
public:
    struct Result {
        enum class Status {
            success,
            /// The user, the system or the program broke the prompt off.
            cancelled,
            /// The machine can't run the check at all; no prompt was shown.
            unavailable,
            /// The owner was not confirmed, or what was to be checked for has gone.
            failed,
        };

        Status status = Status::failed;
        /// Absent on success, and where nobody gave one.
        std::optional<LAError> error;
    };
    using Completion = std::function<void(const Result& result)>;

    /// The prompt shows `reason`, already localised. Completes once: inside the call where no prompt is
    /// shown, else in a later turn of the main loop; never when the program ends before the answer.
    void authenticate(const std::string& reason, Completion completion);
    /// Takes every prompt off the screen; what they were for completes as cancelled.
    void breakOff();
};

}  // namespace vellumix
