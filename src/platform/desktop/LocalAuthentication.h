#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vellumix {

/// What a person has to show: the device's password or biometry, whichever they have.
enum class LAPolicy { deviceOwnerAuthentication = 2 };

/// Why a check was refused or did not confirm. Codes have a meaning in their domain alone.
struct LAError {
    static constexpr const char* localAuthenticationDomain = "LAError";
    static constexpr int authenticationFailed = -1;
    static constexpr int userCancel = -2;
    static constexpr int userFallback = -3;
    static constexpr int systemCancel = -4;
    static constexpr int passcodeNotSet = -5;
    static constexpr int appCancel = -9;
    static constexpr int notInteractive = -1004;

    std::string domain = localAuthenticationDomain;
    int code = authenticationFailed;

    bool operator==(const LAError&) const = default;
};

/// One question to the person at the machine. Main thread.
class LAContext {
public:
    /// Called once, on any thread.
    using Reply = std::function<void(bool isSuccess, std::optional<LAError> error)>;

    virtual ~LAContext() = default;

    /// The titles of the prompt's buttons, already localised. Set them before the prompt.
    std::string localizedCancelTitle;
    std::string localizedFallbackTitle;

    /// Whether the check can run; where it can't, an error. Shows nothing and waits for nobody.
    virtual bool canEvaluatePolicy(LAPolicy policy, std::optional<LAError>& error) = 0;
    /// Shows the prompt with the reason and returns at once. The reply is kept by the service and not by the
    /// context, so it may own the context; it is dropped uncalled when the service ends.
    virtual void evaluatePolicy(LAPolicy policy, const std::string& localizedReason, Reply reply) = 0;
};

/// Asks people to prove that they own the machine. Main thread.
class LocalAuthentication {
public:
    virtual ~LocalAuthentication() = default;
    /// A new one for each question. It doesn't outlive the service.
    virtual std::unique_ptr<LAContext> makeContext() = 0;
    /// Takes every prompt off the screen; their replies are errors with the code `appCancel`.
    virtual void cancelAll() = 0;
};

}  // namespace vellumix
