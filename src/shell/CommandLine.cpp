#include "shell/CommandLine.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

constexpr std::string_view showWord = "--show";
constexpr std::string_view resetWord = "-resetOnboarding";

}  // namespace

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine line;
    if (!arguments.empty() && arguments.front() == "account") {
        line.parseAccount(std::span(arguments).subspan(1));
        return line;
    }
    for (const auto& word : arguments) {
        if (word == "--help" || word == "-h") {
            line.command = Command::help;
        } else if (word == "--version") {
            line.command = Command::version;
        } else if (word == "status") {
            line.command = Command::status;
        } else if (word == "toggle") {
            line.command = Command::toggle;
        } else if (word == "show") {
            line.command = Command::show;
        } else if (word == "hide") {
            line.command = Command::hide;
        } else if (word == "quit") {
            line.command = Command::quit;
        } else if (word == showWord) {
            line.showsPanel = true;
        } else if (word == "--json") {
            line.json = true;
        } else if (word == "--platform=headless") {
            line.platform = PlatformChoice::headless;
        } else if (word == resetWord) {
            line.resetsOnboarding = true;
        } else {
            line.error = localized("command.unknownWord", word);
        }
    }
    const bool isOther = line.command != Command::run;
    if (line.showsPanel && isOther) line.error = localized("command.goesAlone", showWord);
    if (line.resetsOnboarding && isOther) line.error = localized("command.goesAlone", resetWord);
    if (line.json && line.command != Command::status) line.error = localized("command.onlyWithStatus");
    return line;
}

void CommandLine::parseAccount(std::span<const std::string> words) {
    using Action = Account::Action;
    constexpr std::pair<std::string_view, Action> actions[] = {
        {"set", Action::set}, {"show", Action::show}, {"check", Action::check}, {"remove", Action::remove}};
    command = Command::account;
    const auto* const action = words.empty() ? std::end(actions)
                                             : std::ranges::find(actions, words.front(),
                                                                 &std::pair<std::string_view, Action>::first);
    if (action == std::end(actions)) {
        error = localized("command.accountNeedsAction");
        return;
    }
    account.action = action->second;
    words = words.subspan(1);
    const bool isSetting = account.action == Action::set;
    for (; !words.empty(); words = words.subspan(1)) {
        if (isSetting && words.front() == "--user" && words.size() > 1) {
            words = words.subspan(1);
            account.user = words.front();
        } else if (isSetting && account.address.empty() && !words.front().starts_with('-')) {
            account.address = words.front();
        } else {
            error = localized("command.unknownWord", words.front());
            return;
        }
    }
    if (isSetting && account.address.empty()) error = localized("command.accountNeedsAddress");
}

std::string CommandLine::help() {
    struct Row {
        std::string_view words;
        std::string_view textKey;
    };
    constexpr Row rows[] = {
        {"vellumix", "help.start"},
        {"vellumix --show", "help.startShown"},
        {"vellumix toggle", "help.toggle"},
        {"vellumix show | hide", "help.showHide"},
        {"vellumix status [--json]", "help.status"},
        {"vellumix quit", "help.quit"},
        {"vellumix account set ADDRESS", "help.accountSet"},
        {"    [--user NAME]", "help.accountUser"},
        {"vellumix account show | check", "help.accountShow"},
        {"vellumix account remove", "help.accountRemove"},
        {"vellumix --platform=headless", "help.headless"},
        {"vellumix -resetOnboarding", "help.resetOnboarding"},
        {"vellumix --version, --help", "help.about"},
    };
    constexpr std::size_t column = 31;
    auto text = localized("help.summary") + "\n\n";
    for (const auto& row : rows) {
        text += "  " + std::string(row.words) + std::string(column - row.words.size(), ' ') +
                localized(row.textKey) + '\n';
    }
    return text + '\n' + localized("help.exitStatus") + '\n';
}

}  // namespace vellumix
