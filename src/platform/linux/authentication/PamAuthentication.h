#pragma once

#include <memory>
#include <string>

#include "platform/desktop/AuthenticationPrompt.h"
#include "platform/desktop/LocalAuthentication.h"
#include "platform/linux/authentication/AccountPassword.h"

namespace vellumix::linux_desktop {

/// Asks for what the PAM service "vellumix" asks for, of the user who runs the process.
///
/// The modules run on a thread of their own; their questions and messages come to the prompt on the main
/// thread. A prompt that is broken off answers at once, whatever the modules are doing: their next question
/// fails, and a module that hangs is left behind with its thread. No more than three are left behind so:
/// until one of them comes back, checks are refused.
///
/// Refused without a prompt: where nobody can be asked, without the service (PAM would use "other" for it),
/// and for a user without a password, where the machine tells that; else the modules decide, as they do of
/// a locked one. Where it doesn't tell, an empty answer that isn't accepted says it: it ends the prompt, as
/// no other can be right. A prompt may come from any of them, a reader of fingerprints for one.
class PamAuthentication final : public LocalAuthentication {
public:
    struct Options {
        /// Without one, every check is refused.
        AuthenticationPromptMaker makePrompt;
        /// The folder of the service's file. Decided by the program, never by its environment.
        std::string serviceFolder = "/etc/pam.d";
        AccountPassword::Sources account = {};
    };

    explicit PamAuthentication(Options options);
    /// Takes the prompts off the screen; their replies are dropped.
    ~PamAuthentication() override;

    std::unique_ptr<LAContext> makeContext() override;
    void cancelAll() override;

private:
    struct State;
    std::shared_ptr<State> state;
};

}  // namespace vellumix::linux_desktop
