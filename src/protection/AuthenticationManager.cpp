#include "protection/AuthenticationManager.h"

#include <memory>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/LocalizedText.h"

namespace vellumix {

namespace {

using Status = AuthenticationManager::Result::Status;

bool isCancel(const std::optional<LAError>& error) {
    return error == LAError::userCancel || error == LAError::systemCancel || error == LAError::appCancel;
}

}  // namespace

void AuthenticationManager::authenticate(const std::string& reason, Reply reply) {
    const std::shared_ptr<LAContext> context = platform::current().authentication.makeContext();
    context->localizedCancelTitle = localized("cancel");
    context->localizedFallbackTitle = localized("auth.enterPassword");
    if (const auto error = context->canEvaluatePolicy()) {
        reply({Status::unavailable, error});
        return;
    }
    // The reply holds the context, which lives as long as the question.
    context->evaluatePolicy(reason, [context, reply = std::move(reply)](bool isOwner, auto error) {
        if (isOwner) {
            reply({Status::success, std::nullopt});
        } else {
            reply({isCancel(error) ? Status::cancelled : Status::failed, error});
        }
    });
}

}  // namespace vellumix
