#include "shell/StatusBarController.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <set>

#include "core/history/HistorySearch.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Curve.h"
#include "shell/AppDelegate.h"
#include "shell/settings/RelativeTimestamp.h"

namespace vellumix {

namespace {

// No length is none stored.
const Setting<double> widthSetting("panelWidth", 0);
const Setting<double> heightSetting("panelHeight", 0);
const Setting<double> relativeXSetting("panelRelativeX", 0);
const Setting<double> relativeYSetting("panelRelativeY", 0);
const Setting<bool> hasCustomPositionSetting("hasCustomPosition", false);
const Setting<std::optional<double>> spanningXSetting("panelSpanningX");
const Setting<std::optional<double>> spanningYSetting("panelSpanningY");

constexpr double showSeconds = 0.2;
constexpr double hideSeconds = 0.15;

bool isFraction(double value) { return value >= 0 && value <= 1; }

/// The part of the free room before an origin; the middle where there is no room to be free.
double fraction(double origin, double roomBegin, double freeRoom) {
    return freeRoom > 0 ? std::clamp((origin - roomBegin) / freeRoom, 0.0, 1.0) : 0.5;
}

std::optional<NSScreen> mainOrFirstScreen() {
    const auto& windows = *platform::current().windows;
    if (const auto main = windows.mainScreen()) return main;
    const auto screens = windows.screens();
    return screens.empty() ? std::nullopt : std::optional(screens.front());
}

/// Takes over what a side of the panel has become, unless it is as long as its screen allows.
void takeLength(double shown, double& wanted, double& cutOff) {
    if (cutOff > 0 && shown == wanted - cutOff) return;
    wanted = shown;
    cutOff = 0;
}

/// Whether monitors show the whole of the rectangle, and none of them does so alone.
bool spansMonitors(const Rect& rect) {
    const auto screens = platform::current().windows->screens();
    std::set<double> columns{rect.minX(), rect.maxX()};
    std::set<double> rows{rect.minY(), rect.maxY()};
    for (const auto& screen : screens) {
        const auto& visible = screen.visibleFrame;
        if (visible.minX() <= rect.minX() && visible.maxX() >= rect.maxX() && visible.minY() <= rect.minY() &&
            visible.maxY() >= rect.maxY())
            return false;
        const auto shown = visible.intersection(rect);
        if (shown.isEmpty()) continue;
        columns.insert({shown.minX(), shown.maxX()});
        rows.insert({shown.minY(), shown.maxY()});
    }
    const auto isShown = [&](Point point) {
        return std::ranges::any_of(
            screens, [&](const NSScreen& screen) { return screen.visibleFrame.contains(point); });
    };
    // Between two edges that follow each other, all points lie on the same monitors.
    for (auto right = std::next(columns.begin()); right != columns.end(); ++right) {
        for (auto bottom = std::next(rows.begin()); bottom != rows.end(); ++bottom) {
            if (!isShown(
                    {std::midpoint(*std::prev(right), *right), std::midpoint(*std::prev(bottom), *bottom)}))
                return false;
        }
    }
    return true;
}

}  // namespace

StatusBarController::StatusBarController(Store& store, AppDelegate& application)
    : store(store), application(application), statusItem(platform::current().statusBar->makeStatusItem()) {
    restoreFromDefaults();
    showTexts();
    statusItem->setAction(lifetime.weakly([this] { toggleFromStatusItem(); }));
    languageChange = application.languageManager().currentLanguage.observe([this] { showTexts(); });

    // A later turn of the loop, so that whoever caused it is done with it.
    const auto hideLater = [this] { onMain(lifetime.weakly([this] { hide(); })); };
    auto& windows = *platform::current().windows;
    workspaceObserver = windows.observeActiveSpace(hideLater);
    screenParamObserver = windows.observeScreenParameters(hideLater);
    // At once: while the panel has the keyboard, the screen can't be locked.
    sessionObserver =
        windows.observeSessionResign([this] { onMain(lifetime.weakly([this] { hideImmediately(); })); });
}

void StatusBarController::restoreFromDefaults() {
    const Size stored{widthSetting.get(), heightSetting.get()};
    if (stored.width > 0 && stored.height > 0) {
        const auto& least = FloatingPanel::minSize;
        const auto& most = FloatingPanel::maxSize;
        currentSize = {std::clamp(stored.width, least.width, most.width),
                       std::clamp(stored.height, least.height, most.height)};
    }
    if (!hasCustomPositionSetting.get()) return;
    const Point place{relativeXSetting.get(), relativeYSetting.get()};
    if (isFraction(place.x) && isFraction(place.y)) relativePosition = place;
    const auto x = spanningXSetting.get();
    const auto y = spanningYSetting.get();
    if (x && y) spanningPosition = Point{*x, *y};
}

void StatusBarController::showTexts() {
    statusItem->setImage("scissors", localized("app.name"));
    statusItem->setMenu(menu());
}

std::vector<StatusMenuEntry> StatusBarController::menu() {
    return {
        {.title = localized("status.open"), .action = lifetime.weakly([this] { show(); })},
        {.title = localized("settings"), .action = lifetime.weakly([this] {
             show();
             NotificationCenter::defaultCenter().post(settingsRequested);
         })},
        StatusMenuEntry::separator(),
        {.title = localized("quit"), .action = lifetime.weakly([this] { application.terminate(); })},
    };
}

void StatusBarController::toggleFromStatusItem() {
    const bool hasHidden = hidingPress && hidingPress->isUnderWay();
    hidingPress.reset();
    if (isPanelOpen()) return hide();
    // The click's press was one beside the panel, and has done what the click is to do.
    if (!hasHidden) show();
}

void StatusBarController::show() {
    if (!floatingPanel_) buildPanel();
    hidingPress.reset();
    isHiding = false;
    positionPanel();
    if (!isPanelVisible()) NotificationCenter::defaultCenter().post(panelOpens);
    readTimestampsAnew();
    auto& panel = *floatingPanel_;
    panel.window().setAlphaValue(0);
    panel.hostingView().orderFront();
    panel.window().makeKeyWindow();
    panel.hostingView().tree().clearFocus();

    panel.removeClickMonitor();
    panel.addClickMonitor();
    panel.hostingView().animateAlpha(1, view::Curve::easeOut(showSeconds));
}

void StatusBarController::positionPanel() {
    const auto screen = mainOrFirstScreen();
    if (!screen) return;
    const auto& visible = screen->visibleFrame;
    if (spanningPosition) {
        // Fractions of one screen can't say this place. It holds as long as the monitors stand as they did.
        const Rect spanning{*spanningPosition, currentSize};
        if (!spanning.intersection(visible).isEmpty() && spansMonitors(spanning)) {
            currentPosition = spanningPosition;
            cutOff = {};
            return floatingPanel_->window().setFrame(spanning);
        }
    }
    // A larger panel would have its header, or its end, where nobody sees it.
    const Size size{std::min(currentSize.width, visible.size.width),
                    std::min(currentSize.height, visible.size.height)};
    cutOff = {currentSize.width - size.width, currentSize.height - size.height};
    Point origin{visible.centre().x - size.width * 0.5, visible.centre().y - size.height * 0.5};
    if (relativePosition) {
        origin = {visible.minX() + relativePosition->x * (visible.size.width - size.width),
                  visible.minY() + relativePosition->y * (visible.size.height - size.height)};
        currentPosition = origin;
    }
    floatingPanel_->window().setFrame({origin, size});
}

void StatusBarController::hide() {
    if (!isPanelOpen()) return;
    isHiding = true;
    panelGoes();
    floatingPanel_->hostingView().animateAlpha(0, view::Curve::easeIn(hideSeconds), lifetime.weakly([this] {
        floatingPanel_->hostingView().orderOut();
        onMain(lifetime.weakly([this] { panelHasGone(); }));
    }));
}

void StatusBarController::hideImmediately() {
    if (!isPanelVisible()) return;
    panelGoes();
    floatingPanel_->hostingView().orderOut();
    panelHasGone();
}

void StatusBarController::panelGoes() {
    floatingPanel_->removeClickMonitor();
    // What is seen of it from now on is a picture: keys and presses are for the window behind it.
    floatingPanel_->hostingView().withdraw();
    application.lockCoordinator().breakOff();
}

void StatusBarController::panelHasGone() {
    application.lockCoordinator().relockAll();
    HistorySearch::shared().forget();
}

void StatusBarController::buildPanel() {
    const auto root = application.rootView()
                          .environment(&store)
                          .environment(&application)
                          .environment(&application.themeManager())
                          .environment(&application.languageManager());
    floatingPanel_ = std::make_unique<FloatingPanel>(currentSize, root);
    floatingPanel_->onClickOutside = lifetime.weakly([this] {
        hide();
        hidingPress.emplace();
    });

    auto& hosting = floatingPanel_->hostingView();
    hosting.onUnhandledKey([this](const KeyEvent& event) {
        if (event.modifiers == KeyModifiers{.hasControl = true} && event.character == "q") {
            application.terminate();
            return true;
        }
        // What every user of a pop-up expects.
        if (event.key != Key::escape) return false;
        hide();
        return true;
    });
    panelObserverTokens.clear();
    const auto later = [this](Work work) {
        return [this, work = std::move(work)] { onMain(lifetime.weakly(work)); };
    };
    panelObserverTokens.push_back(hosting.observeResize(later([this] { panelChangedFrame(true); })));
    panelObserverTokens.push_back(hosting.observeMove(later([this] { panelChangedFrame(false); })));
    panelObserverTokens.push_back(hosting.observeClose(later([this] {
        panelGoes();
        panelHasGone();
    })));
}

void StatusBarController::panelChangedFrame(bool hasResized) {
    const auto frame = floatingPanel_->window().frame();
    if (hasResized) {
        takeLength(frame.size.width, currentSize.width, cutOff.width);
        takeLength(frame.size.height, currentSize.height, cutOff.height);
    }
    currentPosition = frame.origin;
    persistPanelFrame();
}

void StatusBarController::persistPanelFrame() {
    widthSetting.set(currentSize.width);
    heightSetting.set(currentSize.height);
    if (!currentPosition) return;
    auto screen = floatingPanel_->window().screen();
    if (!screen) screen = mainOrFirstScreen();
    if (!screen) return;
    const auto& visible = screen->visibleFrame;
    relativePosition = Point{
        fraction(currentPosition->x, visible.minX(), visible.size.width - currentSize.width),
        fraction(currentPosition->y, visible.minY(), visible.size.height - currentSize.height),
    };
    relativeXSetting.set(relativePosition->x);
    relativeYSetting.set(relativePosition->y);
    hasCustomPositionSetting.set(true);
    spanningPosition = spansMonitors(floatingPanel_->window().frame()) ? currentPosition : std::nullopt;
    spanningXSetting.set(spanningPosition ? std::optional(spanningPosition->x) : std::nullopt);
    spanningYSetting.set(spanningPosition ? std::optional(spanningPosition->y) : std::nullopt);
}

}  // namespace vellumix
