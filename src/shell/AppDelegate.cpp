#include "shell/AppDelegate.h"

#include <algorithm>

#include "delivery/PasteDelivery.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

namespace {

/// How long the panel has for itself before the front application is made sure of.
constexpr double reactivationSeconds = 0.05;
/// From the panel's going to the writing of an entry.
constexpr double deliverySeconds = 0.05;

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
const Setting<Size, AsWindowSize> popoverSizeSetting("ui.popoverSize", {520, 450});
const Setting<bool> onboardingCompletedSetting("onboarding.completed", false);

}  // namespace

AppDelegate::AppDelegate()
    : shortcut(shortcutSetting.get()),
      autoCleanSettings(AutoCleanSettings::load()),
      appearanceSettings(loadAppearanceSettings()),
      popoverSize(popoverSizeSetting.get()) {}

AutoCleanScheduler& AppDelegate::autoCleanScheduler() {
    if (!autoCleanScheduler_) {
        autoCleanScheduler_ = std::make_unique<AutoCleanScheduler>(
            store_, [this] { return autoCleanSettings.get(); },
            lifetime.weakly(
                [this](AutoCleanSettings settings) { setAutoCleanSettings(std::move(settings)); }));
    }
    return *autoCleanScheduler_;
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
    if (watcher_) watcher_->stop();
    autoCleanScheduler().invalidateTimer();
    store_.saveNow();
    UserDefaults::standard().synchronize();
}

}  // namespace vellumix
