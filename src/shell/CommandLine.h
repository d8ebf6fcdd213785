#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellumix {

/// What a person asked for on the command line.
struct CommandLine {
    enum class Command {
        run,
        status,
        toggle,
        show,
        hide,
        quit,
        account,
        help,
        version,
    };
    enum class PlatformChoice { desktop, headless };

    /// What is asked of the account with a cloud database.
    struct Account {
        enum class Action { set, show, check, remove };

        Action action = Action::show;
        /// With `set`.
        std::string address;
        /// Absent for a person's login name.
        std::optional<std::string> user;
    };

    Command command = Command::run;
    /// With `account`.
    Account account;
    PlatformChoice platform = PlatformChoice::desktop;
    /// With `status`: the JSON object rather than lines.
    bool json = false;
    /// With `run`: open the panel as soon as the program is up.
    bool showsPanel = false;
    /// With `run`: forget that the introduction has been shown.
    bool resetsOnboarding = false;
    /// Why the words can't be followed, in the user's language; empty when they can.
    std::string error;

    /// `arguments` without the program's name.
    static CommandLine parse(const std::vector<std::string>& arguments);
    /// In the user's language.
    static std::string help();

private:
    /// The words behind "account".
    void parseAccount(std::span<const std::string> words);
};

}  // namespace vellumix
