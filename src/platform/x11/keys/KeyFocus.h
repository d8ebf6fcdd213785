#pragma once

#include <memory>
#include <vector>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/x11/keys/InputMethod.h"
#include "platform/x11/keys/Keyboard.h"
#include "platform/x11/keys/LockerWatch.h"
#include "platform/x11/server/Window.h"

namespace vellumix::x11 {

/// A window that can have the keyboard.
class KeyTarget {
public:
    virtual ~KeyTarget() = default;
    /// Whether the keyboard is grabbed for it; otherwise the window manager gives it.
    virtual bool isGrabbing() const = 0;
    virtual void keyStateChanges(bool isKey) = 0;
    virtual void keyTyped(const KeyEvent& event) = 0;
    /// Where text is being typed, in pixels of the root; nothing while keys are commands.
    virtual std::optional<xcb_point_t> textCaret() const = 0;
    virtual void textComposed(const MarkedText& text) = 0;
};

/// Which window of the program is key: the last to have asked, and when it goes, the one before.
///
/// The keys come by a grab of the keyboard, so that the desktop's active window stays the one it was, and
/// activating another takes nothing away. While another program holds a grab it is tried again, for two
/// seconds; then the input focus has to do. While there is a key window, programs are told of that want to
/// lock the screen. Main thread.
///
/// When another program destroys or hides the window that the keys come to, it is made anew and the keyboard
/// taken again.
class KeyFocus {
public:
    KeyFocus(Connection& connection, KeyboardMap& keyboard, int screen);
    ~KeyFocus();
    KeyFocus(const KeyFocus&) = delete;
    KeyFocus& operator=(const KeyFocus&) = delete;

    KeyTarget* key() const { return key_; }
    /// Whether keys reach no other program.
    bool hasKeyboard() const { return isGrabbed || focusBefore != XCB_WINDOW_NONE; }
    /// The target wants the keyboard, or has been given it by the window manager.
    void add(KeyTarget& target);
    void remove(KeyTarget& target);
    /// The target types text now, or no longer, or elsewhere.
    void textCaretChanged(const KeyTarget& target);
    /// A program wants to lock the screen, and can't while the keyboard is grabbed. Told from the loop.
    Observation observeLockers(std::function<void()> observer) {
        return lockerObservers.add(std::move(observer));
    }
    /// A press or release that came to a window of the program.
    void handleKey(const xcb_generic_event_t& event);

private:
    void makeWindow();
    void handle(const xcb_generic_event_t& event);
    void windowIsLost();
    void update();
    void take();
    bool grab();
    void letGo();
    void setKey(KeyTarget* target);
    void handleTyped(const xcb_key_press_event_t& key);

    Connection& connection;
    Keyboard keyboard;
    xcb_window_t window = XCB_WINDOW_NONE;
    InputMethod input;
    std::vector<KeyTarget*> order;
    KeyTarget* key_ = nullptr;
    bool isGrabbed = false;
    /// While there is a key window.
    std::optional<LockerWatch> lockers;
    ObserverList<> lockerObservers;
    /// What had the focus before it was taken for want of a grab; none while it isn't.
    xcb_window_t focusBefore = XCB_WINDOW_NONE;
    int attempts = 0;
    std::unique_ptr<NSTimer> retry;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
