#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "BuildInformation.h"
#include "core/history/EncryptionManager.h"
#include "core/history/HistoryBounds.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/headless/Display.h"
#include "platform/linux/CommandServices.h"
#include "platform/linux/Services.h"
#include "platform/linux/bus/SessionInstance.h"
#include "platform/linux/bus/SessionService.h"
#include "platform/linux/files/ReadAhead.h"
#include "platform/linux/keyring/ChosenKeychain.h"
#include "platform/linux/process/HardenProcess.h"
#include "platform/linux/process/InstanceLock.h"
#include "platform/linux/process/Locale.h"
#include "platform/linux/process/PasswordInput.h"
#include "platform/linux/process/ProcessInfo.h"
#include "platform/linux/process/StartDetached.h"
#include "platform/linux/updates/Updater.h"
#include "platform/x11/Display.h"
#include "shell/AccountCommands.h"
#include "shell/AppDelegate.h"
#include "shell/Commands.h"
#include "shell/StatusReport.h"
#include "shell/settings/LanguageManager.h"
#include "views/controls/Looks.h"
#include "views/panel/PasswordPrompt.h"
#include "views/panel/RootContainerView.h"
#include "views/panel/StatusMenu.h"
#include "views/panel/UpdateWindow.h"

using namespace vellumix;

namespace {

/// The texts of what is said without a platform: by the commands, and before the program has one. In the
/// language that the user chose, like all others.
class CommandTexts {
public:
    explicit CommandTexts(const linux_desktop::Paths& paths) {
        auto& texts = Localization::current();
        texts.preferredLanguages = linux_desktop::preferredLanguages();
        linux_desktop::PosixFileSystem files;
        texts.folder = chosenFolder(UserDefaults::stored(files, paths.settingsFile()));
    }

private:
    SharedInstances::Scope instances;
};

/// Tells the user what can't be pasted, and why.
void tellOfLack(x11::SyntheticKeys::Lack lack) {
    const bool isForAll = lack == x11::SyntheticKeys::Lack::extension;
    platform::current().notifications->show(
        localized("app.name"), localized(isForAll ? "permission.accessibility.title" : "paste.byHand"));
}

/// Null, with the reason said, where there is no display.
std::unique_ptr<Display> openDisplay(CommandLine::PlatformChoice choice, const linux_desktop::Paths& paths,
                                     linux_desktop::GLibRunLoop& runLoop) {
    if (choice == CommandLine::PlatformChoice::headless) return std::make_unique<headless::Display>(runLoop);
    std::string error;
    auto connection = x11::Connection::open(runLoop, error);
    if (!connection) {
        say(error);
        return nullptr;
    }
    auto display = std::make_unique<x11::Display>(
        std::move(connection),
        x11::Display::Options{
            .openMenu = [](const auto& entries,
                           const Rect& icon) { return std::make_shared<StatusMenu>(entries, icon); },
            .palette = controlPalette,
            .chords = paths.configHome ? x11::ApplicationChords::fromFile(*paths.configHome +
                                                                          "/Vellumix/paste-chords.conf")
                                       : x11::ApplicationChords(),
            .onLackOfKeys = tellOfLack,
        });
    if (!display->hasWindowManager()) say(localized("display.noWindowManager"));
    return display;
}

AuthenticationPromptMaker promptMaker(const Display& display) {
    if (!display.isSeen()) return nullptr;
    return [](AuthenticationPrompt::Request request) {
        return std::make_unique<PasswordPrompt>(std::move(request));
    };
}

UpdatePromptMaker updatePromptMaker(const Display& display) {
    if (!display.isSeen()) return nullptr;
    return [](auto manner, const auto& stage, auto onAnswer) {
        return std::make_unique<UpdateWindow>(manner, stage, std::move(onAnswer));
    };
}

/// False where another process writes into the folder.
bool take(linux_desktop::InstanceLock& lock, FileSystem& files, const std::string& dataFolder) {
    switch (lock.take(files, dataFolder)) {
        case linux_desktop::InstanceLock::Outcome::taken:
            return true;
        case linux_desktop::InstanceLock::Outcome::heldByOther:
            say(localized("command.folderInUse", dataFolder));
            return false;
        case linux_desktop::InstanceLock::Outcome::failed:
            // The history can still be kept in memory, and the folder may become writable.
            say(localized("command.folderUnwritable", dataFolder));
            return true;
    }
    return false;
}

/// `successor` is the program that is to take the place of this one when it has ended, if any.
ExitStatus run(const CommandLine& line, const std::vector<std::string>& arguments, const Commands& commands,
               std::string& successor) {
    linux_desktop::hardenProcess();
    linux_desktop::Services::Images images;
    linux_desktop::GLibRunLoop runLoop;

    auto claim = linux_desktop::SessionService::claim(runLoop);
    using Outcome = linux_desktop::SessionService::Outcome;
    if (claim.outcome == Outcome::otherOwns) return commands.handOver(line);
    if (claim.outcome == Outcome::noBus) say(localized("command.startWithoutBus"));

    const auto paths = linux_desktop::Paths::ofUser();
    linux_desktop::ReadAhead files;
    linux_desktop::InstanceLock lock;
    if (!take(lock, files, paths.dataFolder())) return ExitStatus::impossible;
    // Under the lock, whose holder alone writes it.
    files.begin(paths.dataFolder() + "/history.json", bounds::historyFile);
    std::unique_ptr<Display> display;
    linux_desktop::ChosenKeychain keychain(files, paths.dataFolder(),
                                           {.canUserAnswer = [&] { return !display->hasKeyboard(); }});
    // The key is read with the history, for which the display has to be there.
    keychain.prepare();
    display = openDisplay(line.platform, paths, runLoop);
    if (!display) return ExitStatus::impossible;
    keychain.clearLeftovers({EncryptionManager::keychainService, EncryptionManager::keychainAccount});

    Platform platform;
    display->fill(platform);
    linux_desktop::ProcessInfo processInfo(arguments);
    platform.processInfo = &processInfo;
    platform.mainBundle = {buildInformation()};
    const linux_desktop::Services services(platform, runLoop, images, files, keychain, *display, paths,
                                           promptMaker(*display));
    linux_desktop::UpdaterService updates({
        .session = *platform.urlSession,
        .files = files,
        .sharing = *platform.sharing,
        .makePrompt = updatePromptMaker(*display),
        .folder = paths.dataFolder() + "/updates",
        .systemVersion = linux_desktop::systemVersion(),
        .findAppImage = [&files] { return linux_desktop::AppImage::running(files); },
        .relaunch =
            [&](const std::string& program) {
                successor = program;
                runLoop.stop();
            },
    });
    platform.updates = &updates;
    const platform::Scope scope(std::move(platform));

    AppDelegate application;
    application.setRootView([] { return view::View(RootContainerView{}); });
    const auto terminate = [&] { application.terminate(); };
    const auto signals = runLoop.onTerminationSignal(terminate);
    const auto displayEnd = display->observeEnd([&] {
        Log("AppDelegate").error("The display has ended, and the program ends with it");
        application.terminate();
    });
    if (claim.service) {
        claim.service->setHandlers({
            .status = [&] { return statusReport(application); },
            .quit = terminate,
            .toggle = [&] { application.togglePanel(); },
            .show = [&] { application.showPanel(); },
            .hide = [&] { application.hidePanel(); },
            .takeAccount = [&](const auto& account) { application.takeAccount(account); },
        });
    }
    application.applicationDidFinishLaunching();
    if (line.showsPanel) onMain([&] { application.showPanel(); });
    runLoop.run();
    application.applicationWillTerminate();
    return ExitStatus::done;
}

ExitStatus performAccount(const CommandLine::Account& request) {
    linux_desktop::hardenProcess();
    const auto paths = linux_desktop::Paths::ofUser();
    linux_desktop::CommandServices services(paths);
    const platform::Scope scope(services.platform());
    linux_desktop::InstanceLock lock;
    return AccountCommands({
                               .instance = std::make_shared<linux_desktop::SessionInstance>(),
                               .mayWriteSettings =
                                   [&] { return take(lock, *platform::current().files, paths.dataFolder()); },
                               .readPassword = linux_desktop::readPassword,
                               .loginName = linux_desktop::CommandServices::loginName(),
                           })
        .perform(request);
}

}  // namespace

int main(int count, char** words) {
    const std::vector<std::string> arguments(words + std::min(count, 1), words + count);
    const CommandTexts texts(linux_desktop::Paths::ofUser());
    const Commands commands({
        .find = [] { return std::make_unique<linux_desktop::SessionInstance>(); },
        .start = linux_desktop::startDetached,
        .account = performAccount,
        .version =
            "Vellumix " + NSBundle{buildInformation()}.string("CFBundleShortVersionString").value_or(""),
    });
    const auto line = CommandLine::parse(arguments);
    const bool isRun = line.error.empty() && line.command == CommandLine::Command::run;
    if (!isRun) return static_cast<int>(commands.perform(line));
    std::string successor;
    const auto status = run(line, arguments, commands, successor);
    // Only now, as it takes the bus name, the display and the history's folder.
    if (!successor.empty()) linux_desktop::startDetachedProgram(successor, {});
    return static_cast<int>(status);
}
