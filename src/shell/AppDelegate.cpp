#include "shell/AppDelegate.h"

#include <algorithm>
#include <utility>

#include "delivery/PasteDelivery.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

/// How long the panel has for itself before the front application is made sure of.
constexpr double reactivationSeconds = 0.05;
/// From the panel's going to the writing of an entry.
constexpr double deliverySeconds = 0.05;
/// From the end of the alert on a refused combination to the next one.
constexpr double alertPauseSeconds = 2;
/// Where a person says which keys go to which program. What it stands for is the desktop's.
constexpr auto inputMonitoringPane =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_ListenEvent";

/// As data that hold a pair of numbers in JSON. No size of a window is as good as none.
struct AsWindowSize {
    static std::optional<Size> load(std::string_view key, const UserDefaults& defaults) {
        const auto data = defaults.value<Data>(key);
        if (!data) return std::nullopt;
        JsonReader reader(*data);
        std::vector<double> lengths;
        const auto element = [&] { return reader.number(lengths.emplace_back()); };
        const bool isPair = reader.array(element) && reader.end() && lengths.size() == 2;
        // What the window protocol can count (X protocol, request "CreateWindow").
        constexpr double longest = 32767;
        const auto isLength = [](double length) { return length > 0 && length <= longest; };
        if (!isPair || !std::ranges::all_of(lengths, isLength)) return std::nullopt;
        return Size{lengths.front(), lengths.back()};
    }
};

const Setting<Shortcut, AsJSON<Shortcut>> shortcutSetting("settings.globalShortcut",
                                                          {.keyCode = 9, .modifiers = cmdKey | optionKey});
const Setting<Shortcut, AsJSON<Shortcut>> cutShortcutSetting("settings.cutShortcut",
                                                             {.keyCode = 7, .modifiers = cmdKey});
const Setting<bool> globalCutEnabledSetting("settings.globalCutEnabled", true);
const Setting<Size, AsWindowSize> popoverSizeSetting("ui.popoverSize", {520, 450});
const Setting<bool> onboardingCompletedSetting("onboarding.completed", false);

/// Of the service that is told of a launch, as the build has it. The host of a build that has none is
/// reserved for names that lead nowhere (RFC 6761 section 6.4).
URL serviceURL() {
    const auto built = platform::current().mainBundle.string("VLXServiceURL");
    const auto url = built ? URL::parse(*built) : std::nullopt;
    return url ? *url : *URL::parse("https://vellumix.invalid/api");
}

}  // namespace

AppDelegate::AppDelegate()
    : telemetry_(serviceURL()),
      shortcut(shortcutSetting.get()),
      cutShortcut(cutShortcutSetting.get()),
      autoCleanSettings(AutoCleanSettings::load()),
      appearanceSettings(loadAppearanceSettings()),
      popoverSize(popoverSizeSetting.get()),
      globalCutEnabled(globalCutEnabledSetting.get()) {}

AutoCleanScheduler& AppDelegate::autoCleanScheduler() {
    if (!autoCleanScheduler_) {
        autoCleanScheduler_ = std::make_unique<AutoCleanScheduler>(
            store_, [this] { return autoCleanSettings.get(); },
            lifetime.weakly(
                [this](AutoCleanSettings settings) { setAutoCleanSettings(std::move(settings)); }));
    }
    return *autoCleanScheduler_;
}

CloudSyncCoordinator& AppDelegate::cloudSync() {
    if (!cloudSync_) cloudSync_ = std::make_unique<CloudSyncCoordinator>(store_);
    return *cloudSync_;
}

LockCoordinator& AppDelegate::lockCoordinator() {
    if (!lockCoordinator_) {
        lockCoordinator_ = std::make_unique<LockCoordinator>(store_, authenticationManager_);
    }
    return *lockCoordinator_;
}

HotkeyCoordinator& AppDelegate::hotkeyCoordinator() {
    if (!hotkeyCoordinator_) {
        hotkeyCoordinator_ = std::make_unique<HotkeyCoordinator>(lifetime.weakly([this] { togglePanel(); }));
    }
    return *hotkeyCoordinator_;
}

void AppDelegate::setAutoCleanSettings(AutoCleanSettings settings) {
    autoCleanSettings.set(std::move(settings));
    autoCleanSettings->save();
}

void AppDelegate::applicationDidFinishLaunching() {
    const auto& process = *platform::current().processInfo;
    const auto& arguments = process.arguments();
    if (std::ranges::find(arguments, "-resetOnboarding") != arguments.end()) {
        onboardingCompletedSetting.remove();
    }
    if (process.environment("XCTestConfigurationFilePath")) return;

    warnings = std::make_unique<Warnings>(store_);
    watcher_ = std::make_unique<PasteboardWatcher>(store_);
    watcher_->start();
    statusBar_ = std::make_unique<StatusBarController>(store_, *this);
    statusBar_->currentSize = popoverSize.get();
    if (!hotkeyCoordinator().updateHotkey(shortcut.get())) {
        Log("AppDelegate").error("Failed to register global hotkey on launch");
    }

    auto& scheduler = autoCleanScheduler();
    if (autoCleanSettings->modes.contains(AutoCleanMode::onLaunch)) {
        scheduler.performClean(false, false);
    }
    scheduler.start();
    updater_.start();
    cloudSync().start();
    telemetry_.send("app_open", {});
    startCut();
}

void AppDelegate::startCut() {
    auto& coordinator = hotkeyCoordinator();
    coordinator.cutInterceptor = std::make_unique<GlobalCutInterceptor>(cutShortcut.get());
    // First, so that a refusal at the start is told like any other.
    for (const auto* name : {"CGEventTapCreationFailed", "CGEventTapRevoked"}) {
        tapFailures.push_back(NotificationCenter::defaultCenter().observe(
            name, lifetime.weakly([this](const NotificationCenter::UserInfo&) {
                onMain(lifetime.weakly([this] { showInputMonitoringAlert(); }));
            })));
    }
    if (globalCutEnabled.get()) coordinator.cutInterceptor->start();
}

void AppDelegate::pasteAndClose(const ClipboardItem& item) {
    const auto target = previousApp ? previousApp : platform::current().workspace->frontmostApplication();
    if (statusBar_) statusBar_->hideImmediately();
    previousApp.reset();
    onMainAfter(deliverySeconds, [item, target] { deliverPaste(item, target); });
}

bool AppDelegate::updateGlobalShortcut(const Shortcut& wanted) {
    auto& coordinator = hotkeyCoordinator();
    if (!coordinator.updateHotkey(wanted)) {
        coordinator.updateHotkey(shortcut.get());
        return false;
    }
    shortcut.set(wanted);
    shortcutSetting.set(wanted);
    return true;
}

void AppDelegate::takeAccount(const std::optional<CloudAccount>& account) {
    CloudAccount::store(account);
    platform::current().cloud->accountDidChange();
    cloudSync().stop();
    cloudSync().start();
}

void AppDelegate::updateCutShortcut(const Shortcut& wanted) {
    cutShortcut.set(wanted);
    cutShortcutSetting.set(wanted);
    isCutRefused_ = false;
    hotkeyCoordinator().updateCut(wanted, globalCutEnabled.get());
}

void AppDelegate::setGlobalCutEnabled(bool isEnabled) {
    globalCutEnabled.set(isEnabled);
    globalCutEnabledSetting.set(isEnabled);
    isCutRefused_ = false;
    hotkeyCoordinator().updateCut(cutShortcut.get(), isEnabled);
}

void AppDelegate::showInputMonitoringAlert() {
    if (std::exchange(permissionAlertShown, true)) return;
    if (globalCutEnabled.get()) setGlobalCutEnabled(false);
    isCutRefused_ = true;
    auto& platform = platform::current();
    const auto combination = displayString(cutShortcut.get()) + " (" + nameOnBoard(cutShortcut.get()) + ")";
    const auto answer = platform.alerts->runModal(
        {.messageText = localized("permission.inputMonitoring.title"),
         .informativeText = localized("permission.inputMonitoring.message", combination),
         .buttons = {localized("permission.openSettings"), localized("ok")}});
    if (answer == NSAlert::firstButtonReturn) {
        if (const auto pane = URL::parse(inputMonitoringPane)) platform.sharing->openURL(*pane);
    }
    onMainAfter(alertPauseSeconds, lifetime.weakly([this] { permissionAlertShown = false; }));
}

void AppDelegate::togglePanel() { statusBar_ && statusBar_->isPanelOpen() ? hidePanel() : showPanel(); }

void AppDelegate::showPanel() {
    if (!statusBar_ || statusBar_->isPanelOpen()) return;
    previousApp = platform::current().workspace->frontmostApplication();
    statusBar_->show();
    if (!previousApp) return;
    onMainAfter(reactivationSeconds,
                [application = *previousApp] { platform::current().workspace->activate(application); });
}

void AppDelegate::hidePanel() {
    if (statusBar_) statusBar_->hide();
}

void AppDelegate::terminate() { RunLoop::main().stop(); }

void AppDelegate::applicationWillTerminate() {
    // Whoever presses the shortcut would otherwise wait for the history to be written.
    if (auto& interceptor = hotkeyCoordinator().cutInterceptor) interceptor->stop();
    if (watcher_) watcher_->stop();
    autoCleanScheduler().invalidateTimer();
    cloudSync().stop();
    store_.saveNow();
    UserDefaults::standard().synchronize();
}

}  // namespace vellumix
