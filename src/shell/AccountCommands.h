#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/RunningInstance.h"
#include "platform/foundation/cipher/SecretText.h"
#include "shell/CommandLine.h"
#include "shell/ExitStatus.h"

namespace vellumix {

/// What a person asks about their account with a cloud database, on the command line. Main thread, with a
/// platform in force. Each says in a sentence how it went, in the user's language, and never a password.
class AccountCommands {
public:
    struct Options {
        /// The program that runs in this session, if one does.
        std::shared_ptr<RunningInstance> instance;
        /// Whether nobody else writes the settings: asked where no program runs.
        std::function<bool()> mayWriteSettings;
        /// Asks for a password by this question, unseen; nothing when there is none to be had.
        std::function<std::optional<SecretText>(const std::string& question)> readPassword;
        /// By which a person is known who gives no name.
        std::string loginName;
    };
    explicit AccountCommands(Options options) : options(std::move(options)) {}

    ExitStatus perform(const CommandLine::Account& request) const;

private:
    ExitStatus set(const CloudAccount& account) const;
    ExitStatus show() const;
    ExitStatus check() const;
    ExitStatus remove() const;
    bool store(const std::optional<CloudAccount>& account) const;

    const Options options;
};

}  // namespace vellumix
