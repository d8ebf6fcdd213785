// Event taps on a real display: what passes is to its program as if nobody had looked.

#include "platform/x11/keys/EventTaps.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/x11/keys/Hotkeys.h"
#include "platform/x11/windows/WindowServer.h"
#include "x11/KeyListener.h"
#include "x11/Person.h"
#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

namespace {

constexpr KeyChord commandX{.keyCode = 7, .flags = kCGEventFlagMaskCommand};
const std::string superX = chord({KEY_LEFTMETA, KEY_X});
const std::string superAlone = chord({KEY_LEFTMETA});

}  // namespace

class EventTapsTest : public testing::Test, protected DisplayRig {
protected:
    void SetUp() override {
        ASSERT_TRUE(connection) << trouble;
        start();
        listener.forget();
    }
    void start() {
        tap = make();
        ASSERT_TRUE(tap);
        source = taps->CFMachPortCreateRunLoopSource(tap);
        taps->CFRunLoopAddSource(source);
        taps->CGEventTapEnable(tap, true);
        settle();
    }
    CFMachPortRef make(const KeyChord& wanted = commandX) {
        return taps->CGEventTapCreate(
            {.eventsOfInterest = 1 << 10,
             .mayKeep = {wanted},
             .callback = [](CGEventType type, const CGEvent& event,
                            void* self) { return static_cast<EventTapsTest*>(self)->asked(type, event); },
             .userInfo = this});
    }
    const CGEvent* asked(CGEventType type, const CGEvent& event) {
        if (type != CGEventType::keyDown) {
            ++revocations;
            return &event;
        }
        ++(event.isAutorepeat ? repeats : presses);
        flags = CGEventGetFlags(event);
        if (onPress) onPress();
        return keeps && !event.isAutorepeat ? nullptr : &event;
    }
    void pass(double seconds) {
        wait([] { return false; }, seconds);
    }
    /// All keys that the other program is told of, while a person does this.
    std::string told(const std::function<void()>& action) {
        listener.forget();
        action();
        pass(0.15);
        const auto keys = listener.keys();
        EXPECT_EQ(listener.focusChanges(), 0);
        return keys;
    }
    void pressSuperX() {
        person.press(KEY_LEFTMETA);
        person.typeKey(KEY_X);
        person.release(KEY_LEFTMETA);
    }
    auto grabElsewhere(x11::Connection& other, std::uint16_t state) {
        return x11::xcb::succeeded(
            other.xcb(), xcb_grab_key_checked(other.xcb(), 0, other.root(), state, x11::keyCodeOf(KEY_X),
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }

    LogLines log;
    std::unique_ptr<x11::KeyGrabs> grabs = std::make_unique<x11::KeyGrabs>(*connection, *keyboard);
    std::unique_ptr<x11::EventTaps> taps = std::make_unique<x11::EventTaps>(*connection, *grabs);
    CFMachPortRef tap;
    CFRunLoopSourceRef source;
    bool keeps = false;
    std::function<void()> onPress;
    int presses = 0, repeats = 0, revocations = 0;
    CGEventFlags flags = 0;
    KeyListener listener{*connection};
    Person person;
};

TEST_F(EventTapsTest, WhatPassesArrivesOnceAndWhatIsKeptNotAtAll) {
    EXPECT_EQ(told([&] { pressSuperX(); }), superX);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(told([&] {
                  person.press(KEY_LEFTMETA);
                  for (int times = 0; times < 3; ++times) person.typeKey(KEY_X);
                  person.release(KEY_LEFTMETA);
              }),
              " +125 +45 -45 +45 -45 +45 -45 -125")
        << "fast, and in its order";
    EXPECT_EQ(presses + repeats, 4);
    pass(0.1);

    keeps = true;
    presses = repeats = 0;
    for (const auto lock : {0, KEY_CAPSLOCK, KEY_NUMLOCK}) {
        if (lock) person.typeKey(static_cast<unsigned>(lock));
        settle();
        presses = 0;
        // The keyboard is ours from the press to the release, and the modifiers are told before and after.
        EXPECT_EQ(told([&] { pressSuperX(); }), superAlone) << lock;
        EXPECT_EQ(presses, 1) << lock;
        EXPECT_EQ(flags & kCGEventFlagMaskCommand, kCGEventFlagMaskCommand);
        EXPECT_EQ((flags & kCGEventFlagMaskAlphaShift) != 0, lock != 0);
    }
    presses = 0;
    EXPECT_EQ(told([&] {
                  person.press(KEY_LEFTMETA);
                  for (int times = 0; times < 2; ++times) person.typeKey(KEY_X);
                  person.release(KEY_LEFTMETA);
              }),
              superAlone);
    EXPECT_EQ(presses, 2) << "a fast double press is two";
    // Super is let go first, and isn't left hanging.
    EXPECT_EQ(told([&] {
                  for (const auto key : {KEY_LEFTMETA, KEY_X}) person.press(static_cast<unsigned>(key));
                  for (const auto key : {KEY_LEFTMETA, KEY_X}) person.release(static_cast<unsigned>(key));
              }),
              " +125 -125 -45");
    EXPECT_EQ(told([&] {
                  for (const auto key : {KEY_X, KEY_A}) person.typeKey(static_cast<unsigned>(key));
              }),
              chord({KEY_X}) + chord({KEY_A}))
        << "the key alone, and other keys";
    for (const auto held : {KEY_LEFTSHIFT, KEY_LEFTCTRL, KEY_LEFTALT}) {
        presses = 0;
        told([&] {
            person.press(static_cast<unsigned>(held));
            pressSuperX();
            person.release(static_cast<unsigned>(held));
        });
        EXPECT_EQ(presses, 0) << held;
    }
}

TEST_F(EventTapsTest, AHeldKeyIsOnePressAndRepeatsWhereItWent) {
    const auto hold = [&](const std::function<bool()>& until) {
        person.press(KEY_LEFTMETA);
        person.press(KEY_X);
        // The server begins to repeat after 0.66 seconds.
        wait(until, 1.2);
        person.release(KEY_X);
        person.release(KEY_LEFTMETA);
    };
    const auto keys = told([&] { hold([&] { return repeats >= 3; }); });
    EXPECT_EQ(presses, 1);
    EXPECT_GE(repeats, 3);
    EXPECT_TRUE(keys.starts_with(" +125 +45")) << keys;
    EXPECT_TRUE(keys.ends_with(" -45 -125")) << keys;
    pass(0.1);
    keeps = true;
    presses = 0;
    EXPECT_EQ(told([&] { hold([] { return false; }); }), superAlone);
    EXPECT_EQ(presses, 1);
    EXPECT_EQ(told([&] { pressSuperX(); }), superAlone);
    EXPECT_EQ(presses, 2);
}

TEST_F(EventTapsTest, WhileAnotherProgramHasTheKeyboardOrOneOfOursNothingIsLookedAt) {
    keeps = true;
    auto menu = x11::Connection::open(runLoop, trouble);
    ASSERT_TRUE(menu);
    ASSERT_TRUE(x11::xcb::await<xcb_grab_keyboard_reply>(
        menu->xcb(), xcb_grab_keyboard(menu->xcb(), 1, menu->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                       XCB_GRAB_MODE_ASYNC)));
    pressSuperX();
    pass(0.1);
    EXPECT_EQ(presses, 0);
    menu.reset();
    pass(0.1);

    x11::WindowServer windows(*connection, *windowManager, *keyboard);
    const auto panel = windows.makeWindow({.kind = NSWindow::Kind::panel, .frame = {{10, 10}, {50, 50}}});
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return panel->isKeyWindow(); }));
    pressSuperX();
    pass(0.1);
    EXPECT_EQ(presses, 0);
    panel->orderOut();
    settle();
    EXPECT_EQ(told([&] { pressSuperX(); }), superAlone);
    EXPECT_EQ(presses, 1);
}

TEST_F(EventTapsTest, NobodyHasACombinationTwiceAndItIsGivenBack) {
    auto other = x11::Connection::open(runLoop, trouble);
    ASSERT_TRUE(other);
    EXPECT_FALSE(grabElsewhere(*other, XCB_MOD_MASK_4)) << "it is the tap's";
    EXPECT_FALSE(make()) << "twice";
    x11::Hotkeys hotkeys(*connection, *grabs);
    int pressed = 0;
    const auto handler = Hotkeys::InstallEventHandler([&] { ++pressed; });
    EXPECT_FALSE(hotkeys.RegisterEventHotKey(7, cmdKey, handler)) << "nor as the hotkey";
    tap.reset();
    settle();
    EXPECT_EQ(told([&] { pressSuperX(); }), superX);
    EXPECT_EQ(presses, 0);
    ASSERT_TRUE(grabElsewhere(*other, XCB_MOD_MASK_4 | XCB_MOD_MASK_LOCK));
    EXPECT_FALSE(make()) << "another program has one way in which the locks can stand";
    EXPECT_FALSE(make({.keyCode = 10'000, .flags = 0})) << "no key of any board";
    other.reset();
    EXPECT_TRUE(wait([&] { return tap || (tap = make()); }));
}

TEST_F(EventTapsTest, TheKeyboardGoesOnWhateverBecomesOfTheTap) {
    // Ended by its own callback, disabled, ended while its key is down, and ended with a press still to be
    // read.
    const std::pair<const char*, std::function<void()>> ends[] = {
        {"in the callback",
         [&] {
             onPress = [&] { tap.reset(); };
             pressSuperX();
         }},
        {"while it is down",
         [&] {
             person.press(KEY_LEFTMETA);
             person.press(KEY_X);
             wait([&] { return presses == 1; });
             tap.reset();
             // Also where the loop has ended, and nobody reads what comes.
             x11::xcb::await<xcb_get_input_focus_reply>(connection->xcb(),
                                                        xcb_get_input_focus(connection->xcb()));
             person.typeKey(KEY_A);
             EXPECT_TRUE(listener.keys().ends_with(chord({KEY_A}))) << listener.keys();
             person.release(KEY_X);
             person.release(KEY_LEFTMETA);
         }},
        {"unread",
         [&] {
             pressSuperX();
             tap.reset();
         }},
        {"disabled",
         [&] {
             taps->CGEventTapEnable(tap, false);
             pressSuperX();
             tap.reset();
         }},
        {"with all taps", [&] {
             pressSuperX();
             tap.reset();
             taps = std::make_unique<x11::EventTaps>(*connection, *grabs);
         }}};
    for (const auto& [when, end] : ends) {
        SCOPED_TRACE(when);
        keeps = true;
        presses = 0;
        onPress = {};
        tap.reset();
        start();
        end();
        pass(0.1);
        EXPECT_EQ(told([&] { person.typeKey(KEY_A); }), chord({KEY_A}));
        EXPECT_EQ(told([&] { pressSuperX(); }), superX);
    }
}

TEST_F(EventTapsTest, WhatAChangeOfTheKeyboardTakesAwayIsRevoked) {
    auto other = x11::Connection::open(runLoop, trouble);
    ASSERT_TRUE(other);
    ASSERT_TRUE(grabElsewhere(*other, XCB_MOD_MASK_3));
    keeps = true;
    ASSERT_TRUE(Program(runLoop, {"xmodmap", "-e", "clear mod4", "-e", "add mod3 = Super_L"}).waitForEnd());
    EXPECT_TRUE(wait([&] { return revocations == 1; }));
    EXPECT_EQ(told([&] { person.typeKey(KEY_A); }), chord({KEY_A}));
}

}  // namespace vellumix::tests
