#include "platform/linux/authentication/PamAuthentication.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/foundation/cipher/SecretText.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/linux/authentication/PamHandles.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto serviceName = "vellumix";
/// What a person may need for a mistake or two; the modules may end sooner.
constexpr int allowedTries = 3;

/// Modules that don't come back, each with a thread and whatever it has started, that are put up with.
constexpr std::ptrdiff_t mostLeftBehind = 3;

std::optional<std::string> nameOfUser() {
    constexpr std::size_t longestEntry = 1 << 14;
    std::vector<char> buffer(longestEntry);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return std::nullopt;
    return entry.pw_name;
}

/// What the thread of the modules and the main thread share of one exchange.
class Exchange : public std::enable_shared_from_this<Exchange> {
public:
    /// Runs on the main thread, unless the exchange has ended before.
    using OnPrompt = std::function<void(AuthenticationPrompt& prompt)>;

    /// `onEmptyRefused` is called on the main thread when an empty answer wasn't accepted, and the exchange
    /// ends with it; without one an empty answer is one like others.
    Exchange(LAContext::Reply reply, Work onEmptyRefused)
        : loop(RunLoop::main()), reply(std::move(reply)), onEmptyRefused(std::move(onEmptyRefused)) {}

    void begin(std::unique_ptr<AuthenticationPrompt> prompt, const std::string& user,
               const std::string& folder) {
        this->prompt = std::move(prompt);
        std::thread([self = shared_from_this(), user, folder] { self->run(user, folder); }).detach();
    }

    /// Main thread. The modules' thread may go on for as long as it likes.
    void end(bool isSuccess, std::optional<LAError> error) {
        if (const auto reply = breakOff()) reply(isSuccess, std::move(error));
    }
    /// Main thread, where prompt and reply must go too. The reply, the first time.
    LAContext::Reply breakOff() {
        {
            const std::lock_guard lock(mutex);
            hasEnded_ = true;
        }
        changed.notify_all();
        prompt.reset();
        return std::exchange(reply, nullptr);
    }
    bool hasEnded() {
        const std::lock_guard lock(mutex);
        return hasEnded_;
    }

private:
    void run(const std::string& user, const std::string& folder) {
        int status = PAM_AUTH_ERR;
        bool isToAskAgain = true;
        bool isEmptyRefused = false;
        for (int tries = 0; tries < allowedTries && isToAskAgain && !hasEnded(); ++tries) {
            const pam_conv conversation{converse, this};
            pam::Transaction transaction(serviceName, user, conversation, folder);
            status = transaction.then(pam_authenticate, PAM_DISALLOW_NULL_AUTHTOK).status();
            isEmptyRefused = status == PAM_AUTH_ERR && onEmptyRefused && hasAnsweredEmpty;
            isToAskAgain = status == PAM_AUTH_ERR && !isEmptyRefused;
            // What is said of the account doesn't change with another password.
            status = transaction.then(pam_acct_mgmt, PAM_DISALLOW_NULL_AUTHTOK).status();
        }
        onMainThread([this, status, isEmptyRefused] {
            if (status == PAM_SUCCESS) return end(true, std::nullopt);
            if (isEmptyRefused) {
                Log("Authentication").error("The owner seems to have no password, and can't be confirmed");
                onEmptyRefused();
                return end(false, LAError{.code = LAError::passcodeNotSet});
            }
            Log("Authentication").error("The owner was not confirmed, PAM status " + std::to_string(status));
            end(false, LAError{.code = LAError::authenticationFailed});
        });
    }
    /// Posts only while the exchange lasts: the loop may go soon after it.
    void onMainThread(Work work) {
        const std::lock_guard lock(mutex);
        if (hasEnded_) return;
        loop.post([self = shared_from_this(), work = std::move(work)] { work(); });
    }

    static int converse(int count, const pam_message** messages, pam_response** responses, void* exchange) {
        return static_cast<Exchange*>(exchange)->answerAll(count, messages, responses);
    }
    int answerAll(int count, const pam_message** messages, pam_response** responses) {
        if (count <= 0 || count > PAM_MAX_NUM_MSG) return PAM_CONV_ERR;
        std::vector<SecretText> answers(static_cast<std::size_t>(count));
        bool isComplete = true;
        for (int index = 0; index < count && isComplete; ++index) {
            isComplete = answerOne(*messages[index], answers[static_cast<std::size_t>(index)]);
        }
        // Some modules take no answers to what is only to be shown.
        if (!responses) return isComplete ? PAM_SUCCESS : PAM_CONV_ERR;
        // The modules take the answers over, wipe and free them; they have room for so much of one.
        *responses = isComplete
                         ? static_cast<pam_response*>(std::calloc(answers.size(), sizeof(pam_response)))
                         : nullptr;
        for (std::size_t index = 0; index < answers.size(); ++index) {
            const auto answer = answers[index].view();
            if (*responses) {
                (*responses)[index].resp =
                    strndup(answer.data(), std::min<std::size_t>(answer.size(), PAM_MAX_RESP_SIZE - 1));
            }
        }
        return *responses ? PAM_SUCCESS : PAM_CONV_ERR;
    }
    bool answerOne(const pam_message& message, SecretText& answer) {
        const std::string text = message.msg ? message.msg : "";
        switch (message.msg_style) {
            case PAM_PROMPT_ECHO_OFF:
                return ask(text, AuthenticationPrompt::Echo::off, answer);
            case PAM_PROMPT_ECHO_ON:
                return ask(text, AuthenticationPrompt::Echo::on, answer);
            case PAM_TEXT_INFO:
            case PAM_ERROR_MSG: {
                using Importance = AuthenticationPrompt::Importance;
                const auto importance =
                    message.msg_style == PAM_ERROR_MSG ? Importance::error : Importance::information;
                onMainThread([this, text, importance] {
                    if (prompt) prompt->show(text, importance);
                });
                return !hasEnded();
            }
            default:
                return false;
        }
    }
    bool ask(const std::string& question, AuthenticationPrompt::Echo echo, SecretText& answer) {
        onMainThread([this, question, echo] {
            if (!prompt) return;
            prompt->ask(question, echo, [weak = weak_from_this()](SecretText given) {
                if (const auto self = weak.lock()) self->take(std::move(given));
            });
        });
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return hasEnded_ || this->answer; });
        if (this->answer) answer = std::move(*this->answer);
        if (echo == AuthenticationPrompt::Echo::off && answer.view().empty()) hasAnsweredEmpty = true;
        this->answer.reset();
        return !hasEnded_;
    }
    void take(SecretText given) {
        {
            const std::lock_guard lock(mutex);
            if (hasEnded_) return;
            answer = std::move(given);
        }
        changed.notify_all();
    }

    RunLoop& loop;
    LAContext::Reply reply;
    const Work onEmptyRefused;
    /// Of the modules' thread.
    bool hasAnsweredEmpty = false;
    std::unique_ptr<AuthenticationPrompt> prompt;
    std::mutex mutex;
    std::condition_variable changed;
    bool hasEnded_ = false;
    std::optional<SecretText> answer;
};

}  // namespace

struct PamAuthentication::State : std::enable_shared_from_this<State> {
    class Context;

    explicit State(Options given) : options(std::move(given)), password(options.account) {}

    /// Exchanges that have ended, and whose modules haven't.
    std::ptrdiff_t leftBehind() {
        std::erase_if(exchanges, [](const auto& each) { return each.expired(); });
        return std::ranges::count_if(exchanges, [](const auto& each) {
            const auto exchange = each.lock();
            return exchange && exchange->hasEnded();
        });
    }

    Options options;
    AccountPassword password;
    std::vector<std::weak_ptr<Exchange>> exchanges;
};

class PamAuthentication::State::Context final : public LAContext {
public:
    explicit Context(State& state) : state(state) {}

    bool canEvaluatePolicy(LAPolicy, std::optional<LAError>& error) override {
        const auto file = state.options.serviceFolder + '/' + serviceName;
        using Known = AccountPassword::Known;
        if (!state.options.makePrompt) {
            error = LAError{.code = LAError::notInteractive};
        } else if (state.leftBehind() >= mostLeftBehind) {
            Log("Authentication").error("The password service hangs; no further prompt is begun");
            error = LAError{.code = LAError::notInteractive};
        } else if (::access(file.c_str(), R_OK) != 0 || !nameOfUser() ||
                   state.password.known() == Known::missing) {
            error = LAError{.code = LAError::passcodeNotSet};
        }
        return !error;
    }

    void evaluatePolicy(LAPolicy, const std::string& localizedReason, Reply reply) override {
        const bool isClear = this->state.password.known() == AccountPassword::Known::present;
        const auto onEmptyRefused = [weak = this->state.weak_from_this()] {
            if (const auto state = weak.lock()) state->password.turnedOutMissing();
        };
        const auto exchange =
            std::make_shared<Exchange>(std::move(reply), isClear ? Work() : Work(onEmptyRefused));
        this->state.exchanges.push_back(exchange);
        const auto user = nameOfUser();
        auto prompt = this->state.options.makePrompt({
            .reason = localizedReason,
            .cancelTitle = localizedCancelTitle,
            .confirmTitle = localizedFallbackTitle,
            .onCancel =
                [weak = std::weak_ptr(exchange)] {
                    // A later turn of the loop, as the prompt that calls ends with the exchange.
                    onMain([weak] {
                        if (const auto self = weak.lock()) {
                            self->end(false, LAError{.code = LAError::userCancel});
                        }
                    });
                },
        });
        if (!prompt || !user) return exchange->end(false, LAError{.code = LAError::notInteractive});
        exchange->begin(std::move(prompt), *user, this->state.options.serviceFolder);
    }

private:
    State& state;
};

PamAuthentication::PamAuthentication(Options options) : state(std::make_shared<State>(std::move(options))) {}

PamAuthentication::~PamAuthentication() {
    for (const auto& each : state->exchanges) {
        if (const auto exchange = each.lock()) exchange->breakOff();
    }
}

void PamAuthentication::cancelAll() {
    // A reply may ask anew.
    for (const auto& each : std::vector(state->exchanges)) {
        if (const auto exchange = each.lock()) exchange->end(false, LAError{.code = LAError::appCancel});
    }
}

std::unique_ptr<LAContext> PamAuthentication::makeContext() {
    return std::make_unique<State::Context>(*state);
}

}  // namespace vellumix::linux_desktop
