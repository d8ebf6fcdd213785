#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/cipher/SecretText.h"

namespace vellumix {

/// What a person sees while they prove who they are. Main thread. Destroying it takes it off the screen.
class AuthenticationPrompt {
public:
    struct Request {
        std::string reason;
        std::string cancelTitle;
        std::string confirmTitle;
        /// The person broke the prompt off. May be called at any time after the prompt was made.
        std::function<void()> onCancel;
    };
    enum class Echo { off, on };
    using Answer = std::function<void(SecretText answer)>;

    virtual ~AuthenticationPrompt() = default;
    /// Asks one question, with an empty field. One at a time.
    virtual void ask(const std::string& question, Echo echo, Answer answer) = 0;
    enum class Importance { information, error };
    virtual void show(const std::string& message, Importance importance) = 0;
};

/// Makes prompts; nothing where none can be shown.
using AuthenticationPromptMaker =
    std::function<std::unique_ptr<AuthenticationPrompt>(AuthenticationPrompt::Request request)>;

}  // namespace vellumix
