#pragma once

#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "platform/desktop/LocalAuthentication.h"

namespace vellumix::headless {

/// Prompts in memory, answered by whoever holds the service. Refuses every check until told otherwise: there
/// is nobody to ask.
class LocalAuthentication final : public vellumix::LocalAuthentication {
public:
    struct Prompt {
        std::string reason;
        std::string cancelTitle;
        std::string fallbackTitle;
        LAContext::Reply reply;
    };

    std::unique_ptr<LAContext> makeContext() override;
    void cancelAll() override;
    /// Answers the oldest prompt; false when there is none.
    bool answer(bool isSuccess, std::optional<LAError> error = std::nullopt);

    /// What every check answers; absent lets the prompt come.
    std::optional<LAError> refusal = LAError{.code = LAError::notInteractive};
    /// The prompts that wait for an answer, oldest first.
    std::deque<Prompt> prompts;
};

}  // namespace vellumix::headless
