#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/RunningInstance.h"
#include "shell/CommandLine.h"
#include "shell/ExitStatus.h"

namespace vellumix {

/// What a person asks of the program on the command line, besides running it. Each says on standard error why
/// it can't be done. In the user's language.
class Commands {
public:
    struct Options {
        /// Looks for the running instance, which may take seconds.
        std::function<std::unique_ptr<RunningInstance>()> find;
        /// Starts the program with these words, and comes back. False when it could not be started.
        std::function<bool(const std::vector<std::string>&)> start;
        /// Answers what is asked of the account.
        std::function<ExitStatus(const CommandLine::Account&)> account;
        /// As `--version` prints it.
        std::string version;
    };
    explicit Commands(Options options) : options(std::move(options)) {}

    /// Any command but `run`.
    ExitStatus perform(const CommandLine& line) const;
    /// What a start does where the program runs already.
    ExitStatus handOver(const CommandLine& line) const;

private:
    ExitStatus printStatus(bool asJson) const;
    ExitStatus askForPanel(RunningInstance::PanelRequest request) const;
    ExitStatus quit() const;

    Options options;
};

}  // namespace vellumix
