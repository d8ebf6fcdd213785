#include "protection/AuthenticationManager.h"

#include <memory>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

using Status = AuthenticationManager::Result::Status;

Status statusOf(bool isSuccess, const std::optional<LAError>& error) {
    if (isSuccess) return Status::success;
    if (!error || error->domain != LAError::localAuthenticationDomain) return Status::failed;
    switch (error->code) {
        case LAError::userCancel:
        case LAError::systemCancel:
        case LAError::appCancel:
            return Status::cancelled;
        default:
            return Status::failed;
    }
}

}  // namespace

void AuthenticationManager::authenticate(const std::string& reason, Completion completion) {
    const std::shared_ptr<LAContext> context = platform::current().authentication->makeContext();
    context->localizedCancelTitle = localized("cancel");
    context->localizedFallbackTitle = localized("auth.enterPassword");
    std::optional<LAError> refusal;
    if (!context->canEvaluatePolicy(LAPolicy::deviceOwnerAuthentication, refusal)) {
        completion({Status::unavailable, std::move(refusal)});
        return;
    }
    context->evaluatePolicy(
        LAPolicy::deviceOwnerAuthentication, reason,
        [context, loop = &RunLoop::main(), completion = std::move(completion)](bool isSuccess,
                                                                               std::optional<LAError> error) {
            // The context goes with the closure, on the main thread.
            loop->post([context, completion, isSuccess, error = std::move(error)] {
                completion({statusOf(isSuccess, error), isSuccess ? std::nullopt : error});
            });
        });
}

void AuthenticationManager::breakOff() { platform::current().authentication->cancelAll(); }

}  // namespace vellumix
