#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/desktop/Event.h"
#include "platform/desktop/Geometry.h"
#include "platform/foundation/observation/Observation.h"
#include "platform/foundation/text/String.h"

namespace vellumix {

/// One monitor. All monitors share one space in points, y downwards, in which windows have their frames.
struct NSScreen {
    Rect frame;
    /// Without what the desktop's panels and docks keep for themselves.
    Rect visibleFrame;

    friend bool operator==(const NSScreen&, const NSScreen&) = default;
};

/// Pixels to draw a window's content on: premultiplied ARGB of 32 bits in native byte order.
struct PixelBuffer {
    std::span<std::uint8_t> memory;
    /// In device pixels.
    int width = 0;
    int height = 0;
    /// In bytes, from one row to the next.
    int stride = 0;
};

/// What a window tells of itself. Points are in points from the top left corner of what the window draws,
/// which lies `NSWindow::shadowInsets` outside of its frame. Each is called from the main loop, never inside
/// a call to the window, and any of them may destroy the window.
class NSWindowDelegate {
public:
    virtual ~NSWindowDelegate() = default;

    virtual void pointerMoved(Point at) = 0;
    virtual void pointerLeft() = 0;
    /// `clickCount` counts here too: presses of one button within 0.4 seconds and 4 points of each other.
    virtual void pointerPressed(const PointerPress& press) = 0;
    /// Follows every press, also when the pointer has left the window meanwhile.
    virtual void pointerReleased(Point at, PointerButton button) = 0;
    /// The wheel or the fingers go by that many points towards the end of the content, down and right. One
    /// click of a wheel is 40.
    virtual void scrolled(Point at, double down, double right) = 0;
    virtual void keyPressed(const KeyEvent& event) = 0;
    /// Only while a text input is set. What is composed in the end comes as `keyPressed` with its text.
    virtual void textComposed(const MarkedText& text) = 0;
    /// The keyboard comes to the window, or goes.
    virtual void keyStateChanged(bool isKey) = 0;
    /// Whoever caused it, `setFrame` included. `hasResized` and `hasMoved` may both be true.
    virtual void frameChanged(bool hasResized, bool hasMoved) = 0;
    /// The content was lost, or the scale, the insets or the translucency has changed: draw it all again.
    virtual void needsDisplay() = 0;
    /// The user asked for it by the window's frame. The window stays until somebody orders it out.
    virtual void closeRequested() = 0;
};

/// A window that shows pixels. Made hidden; its destruction takes it away. Main thread only; waits for
/// no other program, but for the display's server itself.
class NSWindow {
public:
    enum class Kind {
        /// Floats above all others on every workspace, has no frame and no place in lists of windows, and
        /// takes the keyboard without becoming the desktop's active window: the front application stays who
        /// it was, and may be activated while the window has the keyboard.
        panel,
        /// As a panel, for a short time, from another window of the program.
        menu,
        /// As a menu, but never takes the keyboard or the pointer.
        toolTip,
        /// A question of the program: with the desktop's frame, above other windows, the active window while
        /// it is key. Its size is fixed.
        alert,
        /// An ordinary window with a title, of fixed size.
        titled,
    };
    struct Options {
        Kind kind = Kind::panel;
        Rect frame;
        /// Of a window with a frame.
        String title;
    };

    virtual ~NSWindow() = default;

    /// Calls nothing more of the old one. Null takes it away.
    virtual void setDelegate(NSWindowDelegate* delegate) = 0;

    /// Without the room for the shadow, and without the desktop's frame.
    virtual Rect frame() const = 0;
    /// Takes effect at once for a panel, menu or tool tip; a request to the window manager for the others.
    virtual void setFrame(const Rect& frame) = 0;
    /// The monitor that most of it is on; absent where there is none.
    virtual std::optional<NSScreen> screen() const = 0;
    /// Device pixels a point.
    virtual double backingScaleFactor() const = 0;
    /// The room around the frame in which the window can draw its own shadow; nothing without a compositor,
    /// and where the desktop draws the shadow.
    virtual Insets shadowInsets() const = 0;
    /// Whether transparent pixels show what is behind. Without it, a window is wholly there once it is
    /// ordered front, and gone when its alpha value comes to 0; and it cuts its corners itself, by the radius
    /// it was given.
    virtual bool isTranslucent() const = 0;
    virtual void setCornerRadius(double radius) = 0;

    virtual double alphaValue() const = 0;
    /// 0 to 1; 1 at first.
    virtual void setAlphaValue(double alpha) = 0;
    virtual bool isVisible() const = 0;
    /// Shows it in front, without the keyboard.
    virtual void orderFrontRegardless() = 0;
    /// Hides it; the keyboard goes back to the window of the program that had it before, if that is still
    /// shown, else to the desktop's active window.
    virtual void orderOut() = 0;
    /// Takes the keyboard, as soon as the desktop gives it.
    virtual void makeKeyWindow() = 0;
    virtual bool isKeyWindow() const = 0;
    /// Gives up the keyboard as `orderOut` does, and stays where it is.
    virtual void resignKeyWindow() = 0;
    /// Lets the pointer through to what is behind, which gets its presses from now on. False at first.
    virtual void setIgnoresMouseEvents(bool ignores) = 0;

    virtual void setCursor(Cursor cursor) = 0;
    /// Where text is being typed, for the input method: the caret, as a delegate's points. Nothing while keys
    /// are commands, which no input method then sees.
    virtual void setTextInput(std::optional<Rect> caret) = 0;

    /// Pixels for the whole of what the window draws, shadow room included, as large as frame and insets at
    /// the scale, rounded up. They hold nothing of use at first. Empty where there is no memory for them.
    virtual PixelBuffer beginDrawing() = 0;
    /// Shows what was drawn, in one step.
    virtual void endDrawing() = 0;
};

/// The windows and monitors of a desktop. Main thread only; waits for no other program, but for the display's
/// server itself: `mainScreen` and `mouseLocation` ask it once each, the rest answers from what was observed.
class WindowServer {
public:
    virtual ~WindowServer() = default;

    /// The server must outlive the window.
    virtual std::unique_ptr<NSWindow> makeWindow(const NSWindow::Options& options) = 0;

    /// The first is the desktop's primary monitor; empty where there is none.
    virtual std::vector<NSScreen> screens() const = 0;
    /// The monitor with the active window, else with the pointer; absent where there is none.
    virtual std::optional<NSScreen> mainScreen() const = 0;
    /// In the space of the monitors.
    virtual Point mouseLocation() const = 0;

    /// Monitors, work areas or the scale have changed.
    virtual Observation observeScreenParameters(std::function<void()> observer) = 0;
    /// The user has gone to another workspace.
    virtual Observation observeActiveSpace(std::function<void()> observer) = 0;
    /// The session goes out of the person's sight: the screen is being locked, another session takes its
    /// place, or the machine goes to sleep. One cause may be told several times. Whoever locks needs the
    /// keyboard, and may not get it before a window that has it is ordered out.
    virtual Observation observeSessionResign(std::function<void()> observer) = 0;
    /// Each press of the primary or secondary button that isn't on a window of the program. Empty where the
    /// desktop doesn't tell.
    virtual Observation addGlobalMonitorForMouseDown(std::function<void()> handler) = 0;
    /// Each release of the primary or secondary button, wherever it is. Empty where the desktop doesn't tell.
    virtual Observation addGlobalMonitorForMouseUp(std::function<void()> handler) = 0;
};

}  // namespace vellumix
