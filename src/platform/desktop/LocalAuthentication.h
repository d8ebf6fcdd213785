#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vellumix {

/// Why the desktop did not confirm its owner.
enum class LAError {
    authenticationFailed = -1,
    userCancel = -2,
    userFallback = -3,
    systemCancel = -4,
    passcodeNotSet = -5,
    appCancel = -9,
    notInteractive = -1004,
};

/// One question to the person at the machine, whether it is its owner. Main thread only. Its destruction ends
/// a question that is open, without a reply.
class LAContext {
public:
    using Reply = std::function<void(bool isOwner, std::optional<LAError> error)>;

    virtual ~LAContext() = default;
    /// Nothing if the machine can ask at all, else why it can't. Shows nothing and waits for nobody.
    virtual std::optional<LAError> canEvaluatePolicy() = 0;
    /// Asks, with a reason that the user reads. Replies once, from the main loop, never inside the call.
    virtual void evaluatePolicy(const std::string& localizedReason, Reply reply) = 0;

    /// Already localised.
    std::string localizedCancelTitle;
    std::string localizedFallbackTitle;
};

/// How the desktop tells its owner from others. Main thread only.
class LocalAuthentication {
public:
    virtual ~LocalAuthentication() = default;
    virtual std::unique_ptr<LAContext> makeContext() = 0;
};

}  // namespace vellumix
