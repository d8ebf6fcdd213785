#include "platform/headless/LocalAuthentication.h"

namespace vellumix::headless {

namespace {

class Context final : public LAContext {
public:
    explicit Context(LocalAuthentication& service) : service(service) {}

    bool canEvaluatePolicy(LAPolicy, std::optional<LAError>& error) override {
        error = service.refusal;
        return !error;
    }

    void evaluatePolicy(LAPolicy, const std::string& localizedReason, Reply reply) override {
        service.prompts.push_back(
            {localizedReason, localizedCancelTitle, localizedFallbackTitle, std::move(reply)});
    }

private:
    LocalAuthentication& service;
};

}  // namespace

std::unique_ptr<LAContext> LocalAuthentication::makeContext() { return std::make_unique<Context>(*this); }

void LocalAuthentication::cancelAll() {
    for (const auto& prompt : std::exchange(prompts, {})) {
        prompt.reply(false, LAError{.code = LAError::appCancel});
    }
}

bool LocalAuthentication::answer(bool isSuccess, std::optional<LAError> error) {
    if (prompts.empty()) return false;
    const auto prompt = std::move(prompts.front());
    prompts.pop_front();
    prompt.reply(isSuccess, std::move(error));
    return true;
}

}  // namespace vellumix::headless
