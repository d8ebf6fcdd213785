// Hotkeys on a real display, among other programs and changing keyboards.

#include "platform/x11/keys/Hotkeys.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/x11/windows/WindowServer.h"
#include "support/WindowLog.h"
#include "x11/Person.h"
#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

class HotkeysTest : public testing::Test, protected DisplayRig {
protected:
    HotkeysTest() {
        if (!connection) return;
        grabs = std::make_unique<x11::KeyGrabs>(*connection, *keyboard);
        hotkeys = std::make_unique<x11::Hotkeys>(*connection, *grabs);
        handler = Hotkeys::InstallEventHandler([this] { ++presses; });
    }
    void SetUp() override { ASSERT_TRUE(connection) << trouble; }

    void pass(double seconds) {
        wait([] { return false; }, seconds);
    }
    /// Super, Alt and V, as the first shortcut is.
    void hold() {
        for (const auto position : {KEY_LEFTMETA, KEY_LEFTALT, KEY_V}) person.press(position);
    }
    void letGo() {
        for (const auto position : {KEY_V, KEY_LEFTALT, KEY_LEFTMETA}) person.release(position);
    }
    /// Whether one press arrives, and no more.
    bool arrives() {
        const int before = presses;
        hold();
        letGo();
        wait([&] { return presses > before; }, 0.5);
        pass(0.1);
        return presses == before + 1;
    }
    auto registerShortcut() { return hotkeys->RegisterEventHotKey(9, cmdKey | optionKey, handler); }

    LogLines log;
    std::unique_ptr<x11::KeyGrabs> grabs;
    std::unique_ptr<x11::Hotkeys> hotkeys;
    EventHandlerRef handler;
    int presses = 0;
    Person person;
};

TEST_F(HotkeysTest, ArriveWhateverTheLocksAndTheLayoutAre) {
    const auto hotkey = registerShortcut();
    ASSERT_TRUE(hotkey);
    EXPECT_FALSE(registerShortcut()) << "ours already";
    for (const auto lock : {KEY_CAPSLOCK, KEY_NUMLOCK}) {
        EXPECT_TRUE(arrives());
        person.typeKey(static_cast<unsigned>(lock));
    }
    EXPECT_TRUE(arrives()) << "with both locks";
    for (const auto* layout : {"ru", "us(dvorak)"}) {
        ASSERT_TRUE(Program(runLoop, {"setxkbmap", layout}).waitForEnd());
        EXPECT_TRUE(arrives()) << layout;
    }
    // Super moves to another bit.
    ASSERT_TRUE(Program(runLoop, {"xmodmap", "-e", "clear mod4", "-e", "add mod3 = Super_L"}).waitForEnd());
    EXPECT_TRUE(wait([&] { return arrives(); }));
    const int before = presses;
    person.typeKey(KEY_V);
    pass(0.1);
    EXPECT_EQ(presses, before) << "the key alone";
}

TEST_F(HotkeysTest, APressGoesToItsOwnRegistrationAlone) {
    const auto hotkey = registerShortcut();
    int othersPresses = 0;
    auto others = Hotkeys::InstallEventHandler([&] { ++othersPresses; });
    std::optional<Observation> other = hotkeys->RegisterEventHotKey(9, cmdKey, others);
    ASSERT_TRUE(hotkey && other);
    EXPECT_TRUE(arrives());
    EXPECT_EQ(othersPresses, 0);
    const auto pressOther = [&] {
        person.press(KEY_LEFTMETA);
        person.typeKey(KEY_V);
        person.release(KEY_LEFTMETA);
    };
    pressOther();
    EXPECT_TRUE(wait([&] { return othersPresses == 1; }));
    EXPECT_EQ(presses, 1);
    // One that ends within its own press, as when the person records another combination.
    others = Hotkeys::InstallEventHandler([&] {
        ++othersPresses;
        other.reset();
    });
    other.reset();
    other = hotkeys->RegisterEventHotKey(9, cmdKey, others);
    pressOther();
    EXPECT_TRUE(wait([&] { return othersPresses == 2; }));
    EXPECT_FALSE(other);
    EXPECT_TRUE(arrives());
}

TEST_F(HotkeysTest, AHeldKeyIsOnePressAlsoWhenAWindowTakesTheKeyboardMeanwhile) {
    x11::WindowServer windows(*connection, *windowManager, *keyboard);
    const auto panel = windows.makeWindow({.kind = NSWindow::Kind::panel, .frame = {{10, 10}, {50, 50}}});
    WindowLog window(*panel);
    const auto hotkey = registerShortcut();
    ASSERT_TRUE(hotkey);
    hold();
    ASSERT_TRUE(wait([&] { return presses == 1; }));
    // Longer than the 0.66 seconds after which the server begins to repeat.
    pass(1);
    EXPECT_EQ(presses, 1);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return panel->isKeyWindow(); }));
    pass(0.3);
    EXPECT_TRUE(window.keys.empty()) << "nor is it anything for the window";
    panel->orderOut();
    pass(0.3);
    EXPECT_EQ(presses, 1) << "nor when the keyboard comes back";

    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return panel->isKeyWindow(); }));
    letGo();
    pass(0.1);
    EXPECT_TRUE(arrives()) << "also while a window has the keyboard";
    EXPECT_TRUE(window.keys.empty());
}

TEST_F(HotkeysTest, WhatAnotherProgramHasIsRefusedAndNothingOfItIsKept) {
    // It has one of the ways in which the locks can stand, and that alone.
    auto other = x11::Connection::open(runLoop, trouble);
    ASSERT_TRUE(other);
    constexpr std::uint16_t superAlt = XCB_MOD_MASK_4 | XCB_MOD_MASK_1;
    const auto grab = [&](std::uint16_t state) {
        return x11::xcb::succeeded(
            other->xcb(), xcb_grab_key_checked(other->xcb(), 0, other->root(), state, x11::keyCodeOf(KEY_V),
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    };
    ASSERT_TRUE(grab(superAlt | XCB_MOD_MASK_2));
    EXPECT_FALSE(registerShortcut());
    EXPECT_TRUE(hotkeys->RegisterEventHotKey(8, cmdKey | optionKey, handler)) << "another key";
    EXPECT_FALSE(hotkeys->RegisterEventHotKey(10'000, cmdKey, handler)) << "no key of any board";
    for (const int locks : {0, int{XCB_MOD_MASK_LOCK}, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2}) {
        EXPECT_TRUE(grab(static_cast<std::uint16_t>(superAlt | locks))) << locks;
    }
    other.reset();

    {
        const auto hotkey = registerShortcut();
        ASSERT_TRUE(hotkey);
        EXPECT_TRUE(arrives());
    }
    EXPECT_FALSE(arrives()) << "given back";
}

TEST_F(HotkeysTest, WhatAChangeOfTheKeyboardGivesToAnotherComesBackWhenItEnds) {
    const auto hotkey = registerShortcut();
    ASSERT_TRUE(hotkey);
    // It has what the shortcut becomes when Super moves to another bit.
    auto other = x11::Connection::open(runLoop, trouble);
    ASSERT_TRUE(other);
    ASSERT_TRUE(x11::xcb::succeeded(
        other->xcb(), xcb_grab_key_checked(other->xcb(), 0, other->root(), XCB_MOD_MASK_3 | XCB_MOD_MASK_1,
                                           x11::keyCodeOf(KEY_V), XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
    ASSERT_TRUE(Program(runLoop, {"xmodmap", "-e", "clear mod4", "-e", "add mod3 = Super_L"}).waitForEnd());
    ASSERT_TRUE(wait([&] { return !hotkeys->hasAllHotKeys(); }));
    EXPECT_FALSE(arrives());
    other.reset();
    EXPECT_TRUE(wait([&] { return hotkeys->hasAllHotKeys(); }, 10));
    EXPECT_TRUE(arrives());
}

}  // namespace vellumix::tests
