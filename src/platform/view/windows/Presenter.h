#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/view/windows/AlertWindow.h"
#include "platform/view/windows/HelpTip.h"
#include "platform/view/windows/PopUpMenu.h"

namespace vellumix::view {

/// What a window has open at its views' request: a menu, an alert, a help text. It hears of the window's
/// events first, and says which of them go no further. Points are in the space of the monitors. Main thread
/// only.
class Presenter {
public:
    /// `keyboardReturned` is called on a later turn once something has closed that had the keyboard.
    Presenter(HostingView& host, Renderer& renderer, std::function<void()> keyboardReturned);
    Presenter(const Presenter&) = delete;
    Presenter& operator=(const Presenter&) = delete;

    bool pointerMoved(Point pointer);
    bool pointerPressed();
    bool pointerReleased(Point pointer);
    bool scrolled();
    bool keyPressed(const KeyEvent& event);
    /// Where the pointer is over the views, once they know; absent where it has left.
    void pointerIsOver(std::optional<Point> pointer);
    /// The window has been drawn anew: opens and closes what its views want.
    void treeDidChange();
    /// The window goes. An alert counts as not presented, and none of its actions runs.
    void closeAll();
    /// Whether something is open that the window has lent its keyboard to.
    bool hasKeyboard() const { return menu || alert; }

private:
    void openMenu(const MenuRequest& request);
    void menuEnded(const Action& chosen);
    void openAlert(const AlertRequest& request);
    void alertAnswered(std::optional<std::size_t> button);
    void giveKeyboardBack();
    Rect bounds() const;

    HostingView& host;
    Renderer& renderer;
    std::function<void()> keyboardReturned;
    HelpTip tip;
    std::unique_ptr<PopUpMenu> menu;
    /// Where the press was that opened the menu and is still held.
    std::optional<Point> menuPress;
    std::optional<AlertRequest> alertRequest;
    std::unique_ptr<AlertWindow> alert;
    /// The release of a press that was taken is taken too.
    bool takesRelease = false;
    Lifetime lifetime;
};

}  // namespace vellumix::view
