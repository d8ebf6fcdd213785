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
    : _store(store), _application(application), _statusItem(platform::current().statusBar->makeStatusItem()) {
    restoreFromDefaults();
    showTexts();
    _statusItem->setAction(_lifetime.weakly([this] { toggleFromStatusItem(); }));
    _languageChange = application.languageManager().currentLanguage.observe([this] { showTexts(); });

    // A later turn of the loop, so that whoever caused it is done with it.
    const auto hideLater = [this] { onMain(_lifetime.weakly([this] { hide(); })); };
    auto& windows = *platform::current().windows;
    _workspaceObserver = windows.observeActiveSpace(hideLater);
    _screenParamObserver = windows.observeScreenParameters(hideLater);
    // At once: while the panel has the keyboard, the screen can't be locked.
    _sessionObserver =
        windows.observeSessionResign([this] { onMain(_lifetime.weakly([this] { hideImmediately(); })); });
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
    if (isFraction(place.x) && isFraction(place.y)) _relativePosition = place;
    const auto x = spanningXSetting.get();
    const auto y = spanningYSetting.get();
    if (x && y) _spanningPosition = Point{*x, *y};
}

void StatusBarController::showTexts() {
    _statusItem->setImage("scissors", localized("app.name"));
    _statusItem->setMenu(menu());
}

std::vector<StatusMenuEntry> StatusBarController::menu() {
    return {
        {.title = localized("status.open"), .action = _lifetime.weakly([this] { show(); })},
        {.title = localized("settings"), .action = _lifetime.weakly([this] {
             show();
             NotificationCenter::defaultCenter().post(settingsRequested);
         })},
        StatusMenuEntry::separator(),
        {.title = localized("quit"), .action = _lifetime.weakly([this] { _application.terminate(); })},
    };
}

void StatusBarController::toggleFromStatusItem() {
    const bool hasHidden = _hidingPress && _hidingPress->isUnderWay();
    _hidingPress.reset();
    if (isPanelOpen()) return hide();
    // The click's press was one beside the panel, and has done what the click is to do.
    if (!hasHidden) show();
}

void StatusBarController::show() {
    if (!_floatingPanel) buildPanel();
    _hidingPress.reset();
    _isHiding = false;
    positionPanel();
    if (!isPanelVisible()) NotificationCenter::defaultCenter().post(panelOpens);
    readTimestampsAnew();
    auto& panel = *_floatingPanel;
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
    if (_spanningPosition) {
        // Fractions of one screen can't say this place. It holds as long as the monitors stand as they did.
        const Rect spanning{*_spanningPosition, currentSize};
        if (!spanning.intersection(visible).isEmpty() && spansMonitors(spanning)) {
            _currentPosition = _spanningPosition;
            _cutOff = {};
            return _floatingPanel->window().setFrame(spanning);
        }
    }
    // A larger panel would have its header, or its end, where nobody sees it.
    const Size size{std::min(currentSize.width, visible.size.width),
                    std::min(currentSize.height, visible.size.height)};
    _cutOff = {currentSize.width - size.width, currentSize.height - size.height};
    Point origin{visible.centre().x - size.width * 0.5, visible.centre().y - size.height * 0.5};
    if (_relativePosition) {
        origin = {visible.minX() + _relativePosition->x * (visible.size.width - size.width),
                  visible.minY() + _relativePosition->y * (visible.size.height - size.height)};
        _currentPosition = origin;
    }
    _floatingPanel->window().setFrame({origin, size});
}

void StatusBarController::hide() {
    if (!isPanelOpen()) return;
    _isHiding = true;
    panelGoes();
    _floatingPanel->hostingView().animateAlpha(0, view::Curve::easeIn(hideSeconds), _lifetime.weakly([this] {
        _floatingPanel->hostingView().orderOut();
        onMain(_lifetime.weakly([this] { panelHasGone(); }));
    }));
}

void StatusBarController::hideImmediately() {
    if (!isPanelVisible()) return;
    panelGoes();
    _floatingPanel->hostingView().orderOut();
    panelHasGone();
}

void StatusBarController::panelGoes() {
    _floatingPanel->removeClickMonitor();
    // What is seen of it from now on is a picture: keys and presses are for the window behind it.
    _floatingPanel->hostingView().withdraw();
    _application.lockCoordinator().breakOff();
}

void StatusBarController::panelHasGone() {
    _application.lockCoordinator().relockAll();
    HistorySearch::shared().forget();
}

void StatusBarController::buildPanel() {
    const auto root = _application.rootView()
                          .environment(&_store)
                          .environment(&_application)
                          .environment(&_application.themeManager())
                          .environment(&_application.languageManager());
    _floatingPanel = std::make_unique<FloatingPanel>(currentSize, root);
    _floatingPanel->onClickOutside = _lifetime.weakly([this] {
        hide();
        _hidingPress.emplace();
    });

    auto& hosting = _floatingPanel->hostingView();
    hosting.onUnhandledKey([this](const KeyEvent& event) {
        if (event.modifiers == KeyModifiers{.hasControl = true} && event.character == "q") {
            _application.terminate();
            return true;
        }
        // What every user of a pop-up expects.
        if (event.key != Key::escape) return false;
        hide();
        return true;
    });
    _panelObserverTokens.clear();
    const auto later = [this](Work work) {
        return [this, work = std::move(work)] { onMain(_lifetime.weakly(work)); };
    };
    _panelObserverTokens.push_back(hosting.observeResize(later([this] { panelChangedFrame(true); })));
    _panelObserverTokens.push_back(hosting.observeMove(later([this] { panelChangedFrame(false); })));
    _panelObserverTokens.push_back(hosting.observeClose(later([this] {
        panelGoes();
        panelHasGone();
    })));
}

void StatusBarController::panelChangedFrame(bool hasResized) {
    const auto frame = _floatingPanel->window().frame();
    if (hasResized) {
        takeLength(frame.size.width, currentSize.width, _cutOff.width);
        takeLength(frame.size.height, currentSize.height, _cutOff.height);
    }
    _currentPosition = frame.origin;
    persistPanelFrame();
}

void StatusBarController::persistPanelFrame() {
    widthSetting.set(currentSize.width);
    heightSetting.set(currentSize.height);
    if (!_currentPosition) return;
    auto screen = _floatingPanel->window().screen();
    if (!screen) screen = mainOrFirstScreen();
    if (!screen) return;
    const auto& visible = screen->visibleFrame;
    _relativePosition = Point{
        fraction(_currentPosition->x, visible.minX(), visible.size.width - currentSize.width),
        fraction(_currentPosition->y, visible.minY(), visible.size.height - currentSize.height),
    };
    relativeXSetting.set(_relativePosition->x);
    relativeYSetting.set(_relativePosition->y);
    hasCustomPositionSetting.set(true);
    _spanningPosition = spansMonitors(_floatingPanel->window().frame()) ? _currentPosition : std::nullopt;
    spanningXSetting.set(_spanningPosition ? std::optional(_spanningPosition->x) : std::nullopt);
    spanningYSetting.set(_spanningPosition ? std::optional(_spanningPosition->y) : std::nullopt);
}

}  // namespace vellumix
