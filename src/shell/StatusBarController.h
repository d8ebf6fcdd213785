#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/desktop/StatusItem.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Observation.h"
#include "shell/panel/FloatingPanel.h"
#include "shell/panel/HidingPress.h"

namespace vellumix {

class AppDelegate;
class Store;

/// Owns the program's icon in the desktop's panel, with its menu, and the floating panel: shows, places and
/// hides it, and remembers where it was. Main thread only.
///
/// The floating panel is built at the first `show` and kept. Its place is remembered as fractions of the free
/// room of the screen, so that it comes back to a like place on any screen, and always inside. Whenever it
/// goes, the entries that were unlocked for a while are locked again.
class StatusBarController {
public:
    /// Posted on the default centre, once the panel is shown, for its content to turn to the settings.
    static constexpr auto settingsRequested = "SettingsRequested";
    /// Posted on the default centre before a hidden panel is shown.
    static constexpr auto panelOpens = "PanelOpens";

    /// Restores size and place from the user defaults. Both must outlive the controller.
    StatusBarController(Store& store, AppDelegate& application);

    /// Shows the panel in front with the keyboard, on the main screen. While it is visible, it is placed and
    /// faded in anew.
    void show();
    /// Fades the panel out. It is visible until it has gone, and takes no key and no press from now on; a
    /// question of its own that is open is broken off.
    void hide();
    /// Takes the panel away at once.
    void hideImmediately();
    void toggleFromStatusItem();

    /// Null until the first `show`.
    FloatingPanel* floatingPanel() { return floatingPanel_.get(); }
    bool isPanelVisible() const { return floatingPanel_ && floatingPanel_->window().isVisible(); }
    /// Whether it is visible, and not fading out.
    bool isPanelOpen() const { return isPanelVisible() && !isHiding; }

    /// Of the panel, in points, on a screen that has room for it.
    Size currentSize{420, 620};

private:
    void restoreFromDefaults();
    void showTexts();
    std::vector<StatusMenuEntry> menu();
    void buildPanel();
    void positionPanel();
    void panelChangedFrame(bool hasResized);
    void persistPanelFrame();
    /// The person has done with it, and it may still be seen.
    void panelGoes();
    /// Nothing that was opened for the panel stays open without it.
    void panelHasGone();

    Store& store;
    AppDelegate& application;
    std::unique_ptr<NSStatusItem> statusItem;
    std::unique_ptr<FloatingPanel> floatingPanel_;
    Observation workspaceObserver;
    Observation screenParamObserver;
    Observation sessionObserver;
    std::vector<Observation> panelObserverTokens;
    /// The panel's last known origin.
    std::optional<Point> currentPosition;
    /// The last known place as fractions of the free room, from the left and from the top, 0 to 1 each.
    std::optional<Point> relativePosition;
    /// The panel's origin, where it was left across several monitors.
    std::optional<Point> spanningPosition;
    /// What of `currentSize` the screen has no room for.
    Size cutOff;
    bool isHiding = false;
    std::optional<HidingPress> hidingPress;
    Observation languageChange;
    Lifetime lifetime;
};

}  // namespace vellumix
