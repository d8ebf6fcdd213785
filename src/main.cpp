#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "core/history/EncryptionManager.h"
#include "core/history/HistoryBounds.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/headless/Desktop.h"
#include "platform/headless/StatusBar.h"
#include "platform/linux/applications/DesktopSharing.h"
#include "platform/linux/authentication/PamAuthentication.h"
#include "platform/linux/bus/DesktopNotifications.h"
#include "platform/linux/bus/RunningInstance.h"
#include "platform/linux/bus/SessionService.h"
#include "platform/linux/files/Paths.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/files/ReadAhead.h"
#include "platform/linux/images/IconThemeFileIcons.h"
#include "platform/linux/images/PixbufDecoder.h"
#include "platform/linux/images/PixbufImages.h"
#include "platform/linux/keyring/ChosenKeychain.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/linux/process/HardenProcess.h"
#include "platform/linux/process/InstanceLock.h"
#include "platform/linux/process/StartDetached.h"
#include "platform/linux/process/SystemLog.h"
#include "platform/view/windows/ModalAlerts.h"
#include "platform/x11/applications/Workspace.h"
#include "platform/x11/keys/Hotkeys.h"
#include "platform/x11/keys/SyntheticKeys.h"
#include "platform/x11/selections/Pasteboard.h"
#include "platform/x11/server/Connection.h"
#include "platform/x11/tray/StatusBar.h"
#include "platform/x11/windows/WindowServer.h"
#include "shell/AppDelegate.h"
#include "shell/CommandLine.h"
#include "shell/StatusReport.h"
#include "shell/settings/LanguageManager.h"
#include "views/Gallery.h"
#include "views/GallerySamples.h"
#include "views/controls/Looks.h"
#include "views/panel/PasswordPrompt.h"
#include "views/panel/RootContainerView.h"
#include "views/panel/StatusMenu.h"

using namespace vellumix;

namespace {

enum ExitStatus { done = 0, impossible = 1, wrongWords = 2, nothingRunning = 3 };

/// One sentence for the person who started the program.
void say(const std::string& sentence) { std::fprintf(stderr, "vellumix: %s\n", sentence.c_str()); }

/// The display services of the platform in use.
class Display {
public:
    virtual ~Display() = default;
    virtual NSPasteboard& pasteboard() = 0;
    virtual NSWorkspace& workspace() = 0;
    virtual NSStatusBar& statusBar() = 0;
    virtual WindowServer& windows() = 0;
    virtual Alerts& alerts() = 0;
    virtual Hotkeys& hotkeys() = 0;
    virtual SyntheticKeys& syntheticKeys() = 0;
    virtual FontFamilies fontFamilies() const { return {}; }
    virtual std::optional<std::string> iconTheme() const { return std::nullopt; }
    /// Whether a window of the program keeps the keys from all others.
    virtual bool hasKeyboard() const { return false; }
    /// Calls back once when the display has ended by itself.
    virtual Observation observeEnd(std::function<void()> handler) = 0;
};

/// The user's own table of what pastes where, over the program's.
x11::PasteChords pasteChords() {
    const auto folder = linux_desktop::Paths::ofUser().configHome;
    return folder ? x11::PasteChords::fromFile(*folder + "/Vellumix/paste-chords.conf") : x11::PasteChords();
}

class HeadlessDisplay final : public Display {
public:
    explicit HeadlessDisplay(RunLoop& runLoop) : _windows(runLoop) {}
    NSPasteboard& pasteboard() override { return _pasteboard; }
    NSWorkspace& workspace() override { return _workspace; }
    NSStatusBar& statusBar() override { return _statusBar; }
    WindowServer& windows() override { return _windows; }
    Alerts& alerts() override { return _alerts; }
    Hotkeys& hotkeys() override { return _hotkeys; }
    SyntheticKeys& syntheticKeys() override { return _syntheticKeys; }
    Observation observeEnd(std::function<void()>) override { return {}; }

private:
    headless::Pasteboard _pasteboard{NSPasteboard::Capabilities{.announcesChanges = true}};
    headless::Workspace _workspace;
    headless::StatusBar _statusBar;
    headless::WindowServer _windows;
    headless::Alerts _alerts;
    headless::Hotkeys _hotkeys;
    headless::SyntheticKeys _syntheticKeys{_workspace, _pasteboard};
};

class X11Display final : public Display {
public:
    explicit X11Display(std::unique_ptr<x11::Connection> connection) : _connection(std::move(connection)) {
        if (!_workspace.hasWindowManager()) {
            say(localized("display.noWindowManager"));
        }
    }
    NSPasteboard& pasteboard() override { return _pasteboard; }
    NSWorkspace& workspace() override { return _workspace; }
    NSStatusBar& statusBar() override { return _statusBar; }
    WindowServer& windows() override { return _windows; }
    Alerts& alerts() override { return _alerts; }
    Hotkeys& hotkeys() override { return _hotkeys; }
    SyntheticKeys& syntheticKeys() override { return _syntheticKeys; }
    FontFamilies fontFamilies() const override {
        FontFamilies families;
        families.system = _windows.settings().fontFamily.value_or(families.system);
        return families;
    }
    std::optional<std::string> iconTheme() const override { return _windows.settings().iconTheme; }
    bool hasKeyboard() const override { return _windows.hasKeyboard(); }
    Observation observeEnd(std::function<void()> handler) override {
        return _connection->observeEnd(std::move(handler));
    }

private:
    std::unique_ptr<x11::Connection> _connection;
    x11::Pasteboard _pasteboard{*_connection};
    x11::Workspace _workspace{*_connection};
    x11::WindowServer _windows{*_connection};
    x11::StatusBar _statusBar{*_connection, _windows, [](const auto& entries, const Rect& icon) {
                                  return std::make_shared<StatusMenu>(entries, icon);
                              }};
    view::ModalAlerts _alerts{vellumix::controlPalette};
    x11::Hotkeys _hotkeys{*_connection};
    x11::SyntheticKeys _syntheticKeys{
        *_connection, _workspace, _pasteboard, pasteChords(), [](x11::SyntheticKeys::Lack lack) {
            const bool isForAll = lack == x11::SyntheticKeys::Lack::extension;
            platform::current().notifications.show(
                localized("app.name"),
                localized(isForAll ? "permission.accessibility.title" : "paste.byHand"));
        }};
};

/// The question of the password service in a window of the program's.
class PromptWindow final : public linux_desktop::AuthenticationPrompt {
public:
    explicit PromptWindow(Setting setting)
        : _prompt({.reason = std::move(setting.reason),
                   .cancelTitle = std::move(setting.cancelTitle),
                   .confirmTitle = std::move(setting.confirmTitle),
                   .onCancel = std::move(setting.onCancel)}) {}
    void ask(const std::string& question, Echo echo, Answer answer) override {
        _prompt.ask(question, echo == Echo::off, std::move(answer));
    }
    void show(const std::string& message, Importance importance) override {
        _prompt.show(message, importance == Importance::error);
    }

private:
    PasswordPrompt _prompt;
};

/// None where nobody sees a window.
linux_desktop::AuthenticationPromptMaker promptMaker(CommandLine::PlatformChoice choice) {
    if (choice == CommandLine::PlatformChoice::headless) return nullptr;
    return [](linux_desktop::AuthenticationPrompt::Setting setting) {
        return std::make_unique<PromptWindow>(std::move(setting));
    };
}

std::unique_ptr<Display> openDisplay(CommandLine::PlatformChoice choice,
                                     linux_desktop::GLibRunLoop& runLoop) {
    if (choice == CommandLine::PlatformChoice::headless) return std::make_unique<HeadlessDisplay>(runLoop);
    std::string error;
    auto connection = x11::Connection::open(runLoop, error);
    if (connection) return std::make_unique<X11Display>(std::move(connection));
    say(error);
    return nullptr;
}

std::vector<std::string> preferredLanguages() {
    const auto valueOf = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value ? value : "");
    };
    // The locale is the first of these that is set (POSIX.1-2017 Base Definitions section 8.2).
    auto locale = valueOf("LC_ALL");
    if (locale.empty()) locale = valueOf("LC_MESSAGES");
    if (locale.empty()) locale = valueOf("LANG");
    if (locale.empty() || locale == "C" || locale == "POSIX") return {};
    // The list of LANGUAGE goes before any other locale (GNU gettext manual, section 2.3.3).
    std::vector<std::string> languages;
    auto rest = valueOf("LANGUAGE");
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        if (end > 0) languages.push_back(rest.substr(0, end));
        rest.erase(0, end + 1);
    }
    languages.push_back(locale);
    return languages;
}

std::string settingsPath(const linux_desktop::Paths& paths) {
    return paths.configHome.value_or(paths.temporaryFolder) + "/Vellumix/settings.plist";
}

/// The texts of what is said without a platform: by the commands, and before the program has one. In the
/// language that the user chose, like all others.
class CommandTexts {
public:
    CommandTexts() {
        auto& texts = Localization::current();
        texts.preferredLanguages = preferredLanguages();
        linux_desktop::PosixFileSystem files;
        texts.folder =
            chosenFolder(UserDefaults::stored(files, settingsPath(linux_desktop::Paths::ofUser())));
    }

private:
    SharedInstances::Scope _instances;
};

/// What a start says and does where the program runs already.
int handOver(const CommandLine& line) {
    if (line.resetsOnboarding) {
        say(localized("command.cannotReset"));
        return impossible;
    }
    if (linux_desktop::RunningInstance().ask(linux_desktop::RunningInstance::PanelRequest::show)) {
        say(localized("command.panelIsOpen"));
        return done;
    }
    say(localized("command.noAnswer"));
    return impossible;
}

int run(const CommandLine& line, const std::vector<std::string>& arguments) {
    linux_desktop::hardenProcess();
    // Used on the threads of the loop, which end with it.
    linux_desktop::PixbufImages images;
    linux_desktop::PixbufDecoder imageDecoder;
    linux_desktop::GLibRunLoop runLoop;

    auto claim = linux_desktop::SessionService::claim(runLoop);
    using Outcome = linux_desktop::SessionService::Outcome;
    if (claim.outcome == Outcome::otherOwns) return handOver(line);
    if (claim.outcome == Outcome::noBus) say(localized("command.startWithoutBus"));

    const auto paths = linux_desktop::Paths::ofUser();
    const auto dataFolder = paths.dataHome.value_or(paths.temporaryFolder) + "/Vellumix";
    linux_desktop::ReadAhead files;
    linux_desktop::InstanceLock lock;
    switch (lock.take(files, dataFolder)) {
        case linux_desktop::InstanceLock::Outcome::taken:
            break;
        case linux_desktop::InstanceLock::Outcome::heldByOther:
            say(localized("command.folderInUse", dataFolder));
            return impossible;
        case linux_desktop::InstanceLock::Outcome::failed:
            // The history can still be kept in memory, and the folder may become writable.
            say(localized("command.folderUnwritable", dataFolder));
            break;
    }

    // Under the lock, whose holder alone writes it.
    files.begin(dataFolder + "/history.json", bounds::historyFile);
    const auto display = openDisplay(line.platform, runLoop);
    if (!display) return impossible;

    linux_desktop::SystemLog log(linux_desktop::SystemLog::StandardError::withoutJournal);
    linux_desktop::ChosenKeychain keychain(files, dataFolder,
                                           {.canUserAnswer = [&] { return !display->hasKeyboard(); }});
    keychain.clearLeftovers({EncryptionManager::keychainService, EncryptionManager::keychainAccount});
    linux_desktop::DesktopNotifications notifications;
    linux_desktop::PamAuthentication authentication({.makePrompt = promptMaker(line.platform)});
    linux_desktop::IconThemeFileIcons fileIcons(runLoop, {.themeName = [&] { return display->iconTheme(); }});
    linux_desktop::DesktopSharing sharing(runLoop, files, display->pasteboard());
    const platform::Scope scope(Platform{
        .runLoop = runLoop,
        .log = log,
        .files = files,
        .pasteboard = display->pasteboard(),
        .workspace = display->workspace(),
        .keychain = keychain,
        .authentication = authentication,
        .images = images,
        .alerts = display->alerts(),
        .notifications = notifications,
        .statusBar = display->statusBar(),
        .windows = display->windows(),
        .imageDecoder = imageDecoder,
        .fileIcons = fileIcons,
        .sharing = sharing,
        .hotkeys = display->hotkeys(),
        .syntheticKeys = display->syntheticKeys(),
        .applicationSupportDirectories =
            paths.dataHome ? std::vector{*paths.dataHome} : std::vector<std::string>(),
        .temporaryDirectory = paths.temporaryFolder,
        .defaultsPath = settingsPath(paths),
        .preferredLanguages = preferredLanguages(),
        .fontFamilies = display->fontFamilies(),
    });

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
        });
    }
    application.applicationDidFinishLaunching({
        .arguments = arguments,
        .environment =
            [](const std::string& name) {
                const char* value = std::getenv(name.c_str());
                return value ? std::optional<std::string>(value) : std::nullopt;
            },
    });
    if (line.showsPanel) onMain([&] { application.showPanel(); });
    runLoop.run();
    application.applicationWillTerminate();
    return done;
}

/// Says why there is nobody to ask; true when there is somebody.
bool isPresent(const linux_desktop::RunningInstance& instance) {
    using Presence = linux_desktop::RunningInstance::Presence;
    if (instance.presence() == Presence::running) return true;
    say(localized(instance.presence() == Presence::noBus ? "command.noBus" : "command.notRunning"));
    return false;
}

int printStatus(bool asJson) {
    linux_desktop::RunningInstance instance;
    if (!isPresent(instance)) return nothingRunning;
    const auto json = instance.status();
    if (!json) {
        say(localized("command.noAnswer"));
        return impossible;
    }
    std::fputs(asJson ? (*json + '\n').c_str() : readableStatus(*json).c_str(), stdout);
    return done;
}

int askForPanel(linux_desktop::RunningInstance::PanelRequest request) {
    using Request = linux_desktop::RunningInstance::PanelRequest;
    linux_desktop::RunningInstance instance;
    if (instance.presence() == linux_desktop::RunningInstance::Presence::running) {
        if (instance.ask(request)) return done;
        say(localized("command.noAnswer"));
        return impossible;
    }
    if (request == Request::hide) return isPresent(instance) ? done : nothingRunning;
    if (linux_desktop::startDetached({"--show"})) return done;
    say(localized("command.cannotStart"));
    return impossible;
}

int quit() {
    linux_desktop::RunningInstance instance;
    if (!isPresent(instance)) return nothingRunning;
    if (instance.quit()) return done;
    say(localized("command.stillRunning"));
    return impossible;
}

int gallery(const std::string& folder) {
    headless::Desktop desktop;
    SampleImageDecoder images;
    SampleFileIcons icons;
    const platform::Scope scope(withSamplePictures(desktop.platform(), images, icons));
    std::error_code cause;
    std::filesystem::create_directories(folder, cause);
    if (!cause && paintGallery(folder)) return done;
    say(localized("command.cannotPaint", folder));
    return impossible;
}

}  // namespace

int main(int count, char** words) {
    const std::vector<std::string> arguments(words + std::min(count, 1), words + count);
    const CommandTexts texts;
    const auto line = CommandLine::parse(arguments);
    if (!line.error.empty()) {
        say(line.error + ' ' + localized("command.tryHelp"));
        return wrongWords;
    }
    switch (line.command) {
        case CommandLine::Command::help:
            std::fputs(CommandLine::help().c_str(), stdout);
            return done;
        case CommandLine::Command::version:
            std::puts("Vellumix " VELLUMIX_VERSION);
            return done;
        case CommandLine::Command::status:
            return printStatus(line.json);
        case CommandLine::Command::toggle:
            return askForPanel(linux_desktop::RunningInstance::PanelRequest::toggle);
        case CommandLine::Command::show:
            return askForPanel(linux_desktop::RunningInstance::PanelRequest::show);
        case CommandLine::Command::hide:
            return askForPanel(linux_desktop::RunningInstance::PanelRequest::hide);
        case CommandLine::Command::quit:
            return quit();
        case CommandLine::Command::gallery:
            return gallery(line.folder);
        case CommandLine::Command::run:
            return run(line, arguments);
    }
    return done;
}
