#include "shell/CommandLine.h"

namespace vellumix {

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
        } else if (word == "--show") {
            line.showsPanel = true;
        } else if (word == "gallery") {
            line.command = Command::gallery;
        } else if (line.command == Command::gallery && line.folder.empty()) {
            line.folder = word;
        } else if (word == "--json") {
            line.json = true;
        } else if (word == "--platform=headless") {
            line.platform = PlatformChoice::headless;
        } else if (word != "-resetOnboarding") {
            line.error = "Unknown word on the command line: " + word;
        }
    }
    if (line.showsPanel && line.command != Command::run) line.error = "--show goes with no other command.";
    if (line.json && line.command != Command::status) line.error = "--json goes with status.";
    if (line.command == Command::gallery && line.folder.empty()) line.error = "gallery needs a folder.";
    return line;
}

const char* CommandLine::help() {
    return "Vellumix remembers what you copy, enciphered, and finds it again.\n"
           "\n"
           "  vellumix                      start, in the present X11 session\n"
           "  vellumix --show               start, and open the panel\n"
           "  vellumix toggle               open or close the panel; starts the program if need be\n"
           "  vellumix show | hide          open or close it; show starts the program if need be\n"
           "  vellumix status [--json]      what is kept and what was last recorded or refused; never "
           "content\n"
           "  vellumix quit                 end the running program\n"
           "  vellumix --platform=headless  start with no desktop at all\n"
           "  vellumix -resetOnboarding     start, and forget that the introduction has been shown\n"
           "  vellumix --version, --help\n"
           "\n"
           "Exit status: 0 done, 1 it can't be done, 2 the words are off, 3 nothing is running "
           "that could be asked.\n";
}

}  // namespace vellumix
