#include "shell/CommandLine.h"

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

constexpr std::string_view showWord = "--show";
constexpr std::string_view resetWord = "-resetOnboarding";

}  // namespace

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine line;
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
        {"vellumix --platform=headless", "help.headless"},
        {"vellumix -resetOnboarding", "help.resetOnboarding"},
        {"vellumix --version, --help", "help.about"},
    };
    constexpr std::size_t column = 30;
    auto text = localized("help.summary") + "\n\n";
    for (const auto& row : rows) {
        text += "  " + std::string(row.words) + std::string(column - row.words.size(), ' ') +
                localized(row.textKey) + '\n';
    }
    return text + '\n' + localized("help.exitStatus") + '\n';
}

}  // namespace vellumix
