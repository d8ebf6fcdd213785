// What only a real display shows of our windows.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/x11/applications/Workspace.h"
#include "platform/x11/windows/ScreenWindow.h"
#include "platform/x11/windows/WindowServer.h"
#include "support/WindowLog.h"
#include "x11/DisplayRig.h"
#include "x11/Person.h"
#include "x11/Program.h"

namespace vellumix::tests {

class WindowTest : public testing::Test, protected DisplayRig {
protected:
    WindowTest() {
        if (connection) server = std::make_unique<x11::WindowServer>(*connection, *windowManager, *keyboard);
    }
    void SetUp() override { ASSERT_TRUE(connection) << trouble; }

    std::unique_ptr<NSWindow> make(NSWindow::Kind kind) {
        return server->makeWindow({.kind = kind, .frame = {{100, 100}, {200, 150}}});
    }

    std::unique_ptr<x11::WindowServer> server;
    Person person;
};

TEST_F(WindowTest, WhatIsDrawnIsOnTheScreenWithRoundCornersAndNothingAtAlphaNought) {
    const auto panel = make(NSWindow::Kind::panel);
    panel->setCornerRadius(12);
    WindowLog log(*panel, 0xFF336699);
    const auto background = person.colourAt({102, 102});
    panel->orderFrontRegardless();
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0x336699; }));
    EXPECT_EQ(person.colourAt({101, 101}), background) << "the corner is cut";
    for (const auto colour : {0xFFAA0000U, 0xFF00AA00U, 0xFF0000AAU, 0xFFAAAAAAU}) {
        log.colour = colour;
        log.draw();
    }
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0xAAAAAA; }));

    panel->setAlphaValue(0);
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == background; }));
    panel->setAlphaValue(0.5);
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0xAAAAAA; }));
    panel->orderOut();
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == background; }));
    panel->setAlphaValue(0);
    panel->orderFrontRegardless();
    EXPECT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0xAAAAAA; })) << "no fade to wait for";
    panel->setAlphaValue(1);

    // Another window comes over it and goes: nobody but this program has its content.
    {
        const auto menu = make(NSWindow::Kind::menu);
        WindowLog menuLog(*menu, 0xFF111111);
        menu->orderFrontRegardless();
        ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0x111111; }));
    }
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0xAAAAAA; }));
}

TEST_F(WindowTest, ClicksAreCountedAndTheWheelScrolls) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    ASSERT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0x336699; }));
    person.moveTo({150, 150});
    person.click();
    person.click();
    person.moveTo({180, 150});
    person.click();
    ASSERT_TRUE(wait([&] { return log.presses.size() == 3; }));
    EXPECT_EQ(log.presses[0].clickCount, 1);
    EXPECT_EQ(log.presses[1].clickCount, 2);
    EXPECT_EQ(log.presses[2].clickCount, 1);
    person.click(5);
    person.click(5);
    person.click(4);
    person.click(5);
    person.click();
    ASSERT_TRUE(wait([&] { return log.presses.size() == 4; }));
    EXPECT_EQ(log.scrolledDown, 80) << "40 a click, towards the end";
}

TEST_F(WindowTest, KeysTypeWithDeadKeysOfTheLayoutAndShortcutsTypeNothing) {
    ASSERT_TRUE(Program(runLoop, {"setxkbmap", "-layout", "us", "-variant", "intl"}).waitForEnd());
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    person.typeKey(KEY_APOSTROPHE);
    person.typeKey(KEY_E);
    person.press(KEY_LEFTCTRL);
    person.typeKey(KEY_A);
    person.release(KEY_LEFTCTRL);
    person.press(KEY_LEFTSHIFT);
    person.typeKey(KEY_TAB);
    person.release(KEY_LEFTSHIFT);
    person.typeKey(KEY_KPENTER);
    ASSERT_TRUE(wait([&] { return log.keys.size() == 4; }));
    EXPECT_EQ(log.keys[0].text, "\u00E9");
    EXPECT_EQ(log.keys[0].character, "e");
    EXPECT_EQ(log.keys[1].text, "");
    EXPECT_EQ(log.keys[1].character, "a");
    EXPECT_TRUE(log.keys[1].modifiers.hasControl);
    EXPECT_EQ(log.keys[2].key, Key::tab);
    EXPECT_TRUE(log.keys[2].modifiers.hasShift);
    EXPECT_EQ(log.keys[3].key, Key::enter);
}

TEST_F(WindowTest, ANewLayoutCountsFromTheNextKeyAndCostsNothingBefore) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    person.typeKey(KEY_Z);
    ASSERT_TRUE(wait([&] { return log.keys.size() == 1; }));
    EXPECT_EQ(log.keys[0].text, "z");
    const auto before = xcb_no_operation(connection->xcb()).sequence;
    for (const char* layout : {"fr", "de"}) {
        ASSERT_TRUE(Program(runLoop, {"setxkbmap", "-layout", layout}).waitForEnd());
        // What the server has told by now is served before what stands behind.
        x11::xcb::await<xcb_get_input_focus_reply>(connection->xcb(), xcb_get_input_focus(connection->xcb()));
        bool isServed = false;
        runLoop.postBehind([&] { isServed = true; });
        ASSERT_TRUE(wait([&] { return isServed; }));
    }
    EXPECT_LT(xcb_no_operation(connection->xcb()).sequence - before, 20U);
    person.typeKey(KEY_Z);
    ASSERT_TRUE(wait([&] { return log.keys.size() == 2; }));
    EXPECT_EQ(log.keys[1].text, "y");
}

TEST_F(WindowTest, AShortcutIsALatinLetterUnderEveryLayout) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    // The key of an American board's A, and that of its comma, which is a letter elsewhere.
    const struct {
        const char* layout;
        const char* typed;
        const char* letter;
        const char* comma;
    } cases[] = {{"fr", "q", "q", ";"},
                 {"ru", "\u0444", "a", "\u0431"},
                 {"gr", "\u03B1", "a", ","},
                 {"ru,fr", "\u0444", "q", ";"}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.layout);
        ASSERT_TRUE(Program(runLoop, {"setxkbmap", "-layout", one.layout}).waitForEnd());
        log.keys.clear();
        person.typeKey(KEY_A);
        person.press(KEY_LEFTCTRL);
        person.typeKey(KEY_A);
        person.typeKey(KEY_COMMA);
        person.release(KEY_LEFTCTRL);
        ASSERT_TRUE(wait([&] { return log.keys.size() == 3; }));
        EXPECT_EQ(log.keys[0].text, one.typed);
        EXPECT_EQ(log.keys[1].character, one.letter);
        EXPECT_EQ(log.keys[2].character, one.comma);
    }
}

TEST_F(WindowTest, WhatAnotherProgramForgesActsOnNoWindow) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    const auto titled = make(NSWindow::Kind::titled);
    WindowLog titledLog(*titled);
    titled->orderFrontRegardless();
    Peer peer(runLoop);
    for (const auto window : peer.windowsOfOthers()) {
        xcb_key_press_event_t key{};
        key.response_type = XCB_KEY_PRESS;
        key.detail = KEY_A + 8;
        key.root = connection->root();
        key.event = window;
        key.same_screen = 1;
        peer.forge(window, key);
        xcb_focus_in_event_t focus{};
        focus.response_type = XCB_FOCUS_IN;
        focus.event = window;
        peer.forge(window, focus);
        xcb_destroy_notify_event_t end{};
        end.response_type = XCB_DESTROY_NOTIFY;
        end.event = end.window = window;
        peer.forge(window, end);
        // A window manager may send this one.
        xcb_client_message_event_t close{};
        close.response_type = XCB_CLIENT_MESSAGE;
        close.format = 32;
        close.window = window;
        close.type = connection->atoms().protocols;
        close.data.data32[0] = connection->atoms().deleteWindow;
        peer.forge(window, close);
    }
    person.typeKey(KEY_B);
    ASSERT_TRUE(wait([&] { return !log.keys.empty(); }));
    EXPECT_EQ(log.keys.front().text, "b");
    EXPECT_EQ(log.keyStates, "+");
    EXPECT_TRUE(wait([&] { return titledLog.closes == 1; }));
}

TEST_F(WindowTest, AWindowThatAnotherProgramTakesAwayIsClosedAndComesAgain) {
    Peer peer(runLoop);
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    const auto open = [&] {
        log.keyStates.clear();
        panel->orderFrontRegardless();
        panel->makeKeyWindow();
        return wait([&] { return person.colourAt({200, 170}) == 0x336699 && log.keyStates == "+"; });
    };
    const auto id = [&] { return static_cast<const x11::ScreenWindow&>(*panel).id(); };
    const std::pair<const char*, std::function<void()>> takings[] = {
        {"destroyed", [&] { xcb_destroy_window(peer.xcb(), id()); }},
        {"unmapped", [&] { xcb_unmap_window(peer.xcb(), id()); }},
    };
    for (const auto& [name, take] : takings) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(open());
        log.closes = 0;
        take();
        peer.synchronize();
        ASSERT_TRUE(wait([&] { return log.closes == 1; }));
        EXPECT_FALSE(panel->isVisible());
        EXPECT_EQ(log.keyStates, "+-");
        const auto free = x11::xcb::await<xcb_grab_keyboard_reply>(
            peer.xcb(), xcb_grab_keyboard(peer.xcb(), 1, connection->root(), XCB_CURRENT_TIME,
                                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        ASSERT_TRUE(free);
        EXPECT_EQ(free->status, XCB_GRAB_STATUS_SUCCESS) << "nobody holds the keyboard without a window";
        xcb_ungrab_keyboard(peer.xcb(), XCB_CURRENT_TIME);
        peer.synchronize();
    }
    // What was only moved is put back.
    ASSERT_TRUE(open());
    const std::uint32_t corner[] = {0, 0, 1, 1};
    xcb_configure_window(
        peer.xcb(), id(),
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
        corner);
    peer.synchronize();
    EXPECT_NE(person.colourAt({200, 170}), 0x336699U);
    EXPECT_TRUE(wait([&] { return person.colourAt({200, 170}) == 0x336699; }));
    EXPECT_TRUE(panel->isKeyWindow());
}

TEST_F(WindowTest, TheKeysComeBackWhenTheirWindowIsTakenAway) {
    Peer peer(runLoop);
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    const auto panelWindow = static_cast<const x11::ScreenWindow&>(*panel).id();
    for (const auto take : {xcb_destroy_window, xcb_unmap_window}) {
        log.keyStates.clear();
        for (const auto window : peer.windowsOfOthers()) {
            if (window != panelWindow) take(peer.xcb(), window);
        }
        peer.synchronize();
        ASSERT_TRUE(wait([&] { return log.keyStates == "-+"; }));
        const auto typed = log.keys.size();
        person.typeKey(KEY_ESC);
        EXPECT_TRUE(wait([&] { return log.keys.size() == typed + 1; }));
    }
}

TEST_F(WindowTest, TheScaleFollowsTheDisplaysResources) {
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    int changes = 0;
    const auto changed = server->observeScreenParameters([&] { ++changes; });
    person.setRootText(XCB_ATOM_RESOURCE_MANAGER, "Xcursor.size:\t24\nXft.dpi:\t192\n");
    ASSERT_TRUE(wait([&] { return changes == 1; }));
    EXPECT_EQ(panel->backingScaleFactor(), 2);
    EXPECT_EQ(server->screens().front().frame.size, (Size{320, 240}));
    ASSERT_TRUE(wait([&] { return person.colourAt({590, 390}) == 0x336699; })) << "redrawn at twice the size";
}

TEST_F(WindowTest, TheFrontApplicationStaysWhileThePanelHasTheKeys) {
    x11::Workspace workspace(*connection, *windowManager);
    Program manager(runLoop, {"openbox", "--sm-disable"});
    Peer peer(runLoop);
    ASSERT_TRUE(wait([&] { return peer.hasRootProperty("_NET_NUMBER_OF_DESKTOPS"); }, 20));
    const Program terminal(runLoop, {"xterm", "-e", "cat"});
    ASSERT_TRUE(wait([&] { return workspace.frontmostApplication().has_value(); }, 20));
    const auto process = workspace.frontmostApplication()->processIdentifier;
    const auto panel = make(NSWindow::Kind::panel);
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    person.typeKey(KEY_A);
    ASSERT_TRUE(wait([&] { return log.keys.size() == 1; }));
    EXPECT_EQ(workspace.frontmostApplication()->processIdentifier, process);

    // An alert is the active window for as long as it is there, and its frame can close it.
    {
        const auto alert = make(NSWindow::Kind::alert);
        WindowLog alertLog(*alert);
        alert->orderFrontRegardless();
        alert->makeKeyWindow();
        ASSERT_TRUE(wait([&] { return alertLog.keyStates == "+" && log.keyStates == "+-"; }));
        person.typeKey(KEY_B);
        ASSERT_TRUE(wait([&] { return alertLog.keys.size() == 1; }));
        EXPECT_EQ(alert->frame().size, (Size{200, 150}));
    }
    ASSERT_TRUE(wait([&] { return log.keyStates == "+-+"; }));
    manager.kill();
    person.typeKey(KEY_C);
    ASSERT_TRUE(wait([&] { return log.keys.size() == 2; }));
}

/// A program that locks the screen, as far as the display sees it.
class Locker {
public:
    Locker() : xcb(xcb_connect(nullptr, nullptr)), window(xcb_generate_id(xcb.get())) {}

    void makeWindow(std::uint16_t width, std::uint16_t height, xcb_window_class_t kind) {
        const std::uint32_t yes = 1;
        xcb_create_window(xcb.get(), XCB_COPY_FROM_PARENT, window, root(), 0, 0, width, height, 0, kind,
                          XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &yes);
        xcb_flush(xcb.get());
    }
    void map() {
        xcb_map_window(xcb.get(), window);
        xcb_flush(xcb.get());
    }
    bool takesKeyboard() {
        const auto reply = x11::xcb::await<xcb_grab_keyboard_reply>(
            xcb.get(), xcb_grab_keyboard(xcb.get(), 1, root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                         XCB_GRAB_MODE_ASYNC));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }

private:
    xcb_window_t root() const { return xcb_setup_roots_iterator(xcb_get_setup(xcb.get())).data->root; }

    x11::xcb::ConnectionHandle xcb;
    xcb_window_t window;
};

TEST_F(WindowTest, WhoeverLocksTheScreenGetsTheKeyboardOfThePanel) {
    const struct {
        const char* name;
        std::function<void(Locker&)> begin;
    } lockers[] = {
        {"covers the screen",
         [](auto& locker) { locker.makeWindow(640, 480, XCB_WINDOW_CLASS_INPUT_OUTPUT); }},
        {"leaves it in sight",
         [](auto& locker) {
             locker.makeWindow(1, 1, XCB_WINDOW_CLASS_INPUT_ONLY);
             locker.map();
         }},
        {"is started by the server's saver",
         [&](auto&) { xcb_force_screen_saver(connection->xcb(), XCB_SCREEN_SAVER_ACTIVE); }},
    };
    for (const auto& [name, begin] : lockers) {
        const auto panel = make(NSWindow::Kind::panel);
        WindowLog log(*panel);
        panel->orderFrontRegardless();
        panel->makeKeyWindow();
        ASSERT_TRUE(wait([&] { return log.keyStates == "+"; })) << name;
        const auto resigns = server->observeSessionResign([&] { panel->orderOut(); });
        Locker tip;
        tip.makeWindow(200, 30, XCB_WINDOW_CLASS_INPUT_OUTPUT);
        tip.map();
        person.typeKey(KEY_A);
        ASSERT_TRUE(wait([&] { return log.keys.size() == 1; })) << name;
        ASSERT_TRUE(panel->isVisible()) << name << ": a tool tip locks nothing";
        Locker locker;
        begin(locker);
        EXPECT_TRUE(wait([&] { return locker.takesKeyboard(); })) << name;
    }
}

TEST(DesktopSettingsTest, FontNamesLoseTheirSizeAndMalformedSettingsAreDropped) {
    EXPECT_EQ(x11::familyOfFontName("Noto Sans Semi-Bold Italic 10.5"), "Noto Sans");
    EXPECT_EQ(x11::familyOfFontName("Cantarell, 11"), "Cantarell");
    EXPECT_EQ(x11::familyOfFontName("11"), std::nullopt);
    // One text setting, little-endian: its value claims to be longer than the property.
    std::string value("\0\0\0\0\0\0\0\0\1\0\0\0\1\0\14\0Gtk/FontName\0\0\0\0\7\0\0\0Inter 9\0", 44);
    const auto read = [&] {
        return x11::settingsOfProperty({reinterpret_cast<const std::uint8_t*>(value.data()), value.size()});
    };
    EXPECT_EQ(read().fontFamily, "Inter");
    value[32] = '\x7F';
    EXPECT_EQ(read().fontFamily, std::nullopt);
}

}  // namespace vellumix::tests
