#include "shell/Commands.h"

#include <cstdio>

#include "platform/foundation/text/LocalizedText.h"
#include "shell/StatusReport.h"

namespace vellumix {

namespace {

/// Says why there is nobody to ask; true when there is somebody.
bool isPresent(const RunningInstance& instance) {
    using Presence = RunningInstance::Presence;
    if (instance.presence() == Presence::running) return true;
    say(localized(instance.presence() == Presence::unknown ? "command.noBus" : "command.notRunning"));
    return false;
}

}  // namespace

ExitStatus Commands::perform(const CommandLine& line) const {
    using Command = CommandLine::Command;
    using Request = RunningInstance::PanelRequest;
    if (!line.error.empty()) {
        say(line.error + ' ' + localized("command.tryHelp"));
        return ExitStatus::wrongWords;
    }
    switch (line.command) {
        case Command::help:
            std::fputs(CommandLine::help().c_str(), stdout);
            break;
        case Command::version:
            std::puts(options.version.c_str());
            break;
        case Command::status:
            return printStatus(line.json);
        case Command::toggle:
            return askForPanel(Request::toggle);
        case Command::show:
            return askForPanel(Request::show);
        case Command::hide:
            return askForPanel(Request::hide);
        case Command::quit:
            return quit();
        case Command::account:
            return options.account(line.account);
        case Command::run:
            break;
    }
    return ExitStatus::done;
}

ExitStatus Commands::handOver(const CommandLine& line) const {
    if (line.resetsOnboarding) {
        say(localized("command.cannotReset"));
        return ExitStatus::impossible;
    }
    if (options.find()->ask(RunningInstance::PanelRequest::show)) {
        say(localized("command.panelIsOpen"));
        return ExitStatus::done;
    }
    say(localized("command.noAnswer"));
    return ExitStatus::impossible;
}

ExitStatus Commands::printStatus(bool asJson) const {
    const auto instance = options.find();
    if (!isPresent(*instance)) return ExitStatus::nothingRunning;
    const auto json = instance->status();
    if (!json) {
        say(localized("command.noAnswer"));
        return ExitStatus::impossible;
    }
    std::fputs(asJson ? (*json + '\n').c_str() : readableStatus(*json).c_str(), stdout);
    return ExitStatus::done;
}

ExitStatus Commands::askForPanel(RunningInstance::PanelRequest request) const {
    const auto instance = options.find();
    if (instance->presence() == RunningInstance::Presence::running) {
        if (instance->ask(request)) return ExitStatus::done;
        say(localized("command.noAnswer"));
        return ExitStatus::impossible;
    }
    if (request == RunningInstance::PanelRequest::hide) {
        isPresent(*instance);
        return ExitStatus::nothingRunning;
    }
    if (options.start({"--show"})) return ExitStatus::done;
    say(localized("command.cannotStart"));
    return ExitStatus::impossible;
}

ExitStatus Commands::quit() const {
    const auto instance = options.find();
    if (!isPresent(*instance)) return ExitStatus::nothingRunning;
    if (instance->quit()) return ExitStatus::done;
    say(localized("command.stillRunning"));
    return ExitStatus::impossible;
}

}  // namespace vellumix
