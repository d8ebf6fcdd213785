// Keys that the program presses, as the program in front sees them.

#include "platform/x11/keys/SyntheticKeys.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <algorithm>

#include "x11/Person.h"
#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

namespace {

constexpr KeyChord commandV{.keyCode = 9, .flags = kCGEventFlagMaskCommand};

/// A window of another program with the keyboard, which tells what keys come to it: "+" or "-" and the
/// position.
class KeyListener {
public:
    explicit KeyListener(x11::Connection& connection) : xcb(xcb_connect(nullptr, nullptr)) {
        const auto window = xcb_generate_id(xcb.get());
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE};
        xcb_create_window(xcb.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, 9, 9, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(xcb.get(), window);
        xcb_set_input_focus(xcb.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        x11::xcb::await<xcb_get_input_focus_reply>(xcb.get(), xcb_get_input_focus(xcb.get()));
    }

    /// All so far.
    const std::string& keys() {
        while (const x11::xcb::Event event{xcb_poll_for_event(xcb.get())}) {
            const auto type = x11::xcb::typeOf(*event);
            if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) continue;
            keys_ += type == XCB_KEY_PRESS ? " +" : " -";
            keys_ += std::to_string(x11::positionOf(x11::xcb::as<xcb_key_press_event_t>(*event).detail));
        }
        return keys_;
    }
    void forget() {
        keys();
        keys_.clear();
    }

private:
    x11::xcb::ConnectionHandle xcb;
    std::string keys_;
};

std::string chord(std::initializer_list<int> positions) {
    std::string text;
    for (const int position : positions) text += " +" + std::to_string(position);
    for (auto at = std::rbegin(positions); at != std::rend(positions); ++at)
        text += " -" + std::to_string(*at);
    return text;
}

}  // namespace

class SyntheticKeysTest : public X11Test {
protected:
    std::string windowClass(const std::string& name) { return std::string("instance\0", 9) + name + '\0'; }
    void bringToFront(const std::string& name) {
        peer->tellsWindows();
        static std::uint32_t process = 100;
        peer->setRootWindow("_NET_ACTIVE_WINDOW",
                            peer->makeWindow({{"WM_CLASS", windowClass(name)}}, ++process));
        ASSERT_TRUE(wait([&] {
            const auto front = workspace.frontmostApplication();
            return front && front->processIdentifier == static_cast<int>(process);
        }));
    }
    /// The keys of one paste.
    std::string paste(double seconds = 2) {
        listener.forget();
        keys.CGEventPost(commandV);
        wait([&] { return listener.keys().find('-') != std::string::npos; }, seconds);
        settle();
        return listener.keys();
    }

    x11::Workspace workspace{*connection, *windowManager, x11::DesktopFiles({})};
    int told = 0;
    x11::SyntheticKeys keys{
        *connection,
        *keyboard,
        workspace,
        *pasteboard,
        x11::PasteChords("letters = Alt+Y"),
        [this](x11::SyntheticKeys::Lack lack) { told += lack == x11::SyntheticKeys::Lack::chord; }};
    KeyListener listener{*connection};
    Person person;
};

TEST_F(SyntheticKeysTest, PasteByTheKeysOfTheApplicationAndTheLayout) {
    EXPECT_TRUE(keys.AXIsProcessTrustedWithOptions(true));
    keys.CGEventPost({.keyCode = 8, .flags = kCGEventFlagMaskCommand});
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_V})) << "without anybody in front; no other chord is known";
    bringToFront("Gnome-terminal");
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_LEFTSHIFT, KEY_V}));
    bringToFront("Mousepad");
    person.typeKey(KEY_CAPSLOCK);
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_V}));
    // Where "v" is typed, in the present layout or in any other; where nothing types it, a chord without it.
    const std::tuple<const char*, const char*, std::string> layouts[] = {
        {"us", "dvorak", chord({KEY_LEFTCTRL, KEY_DOT})},
        {"ru,us", ",dvorak", chord({KEY_LEFTCTRL, KEY_DOT})},
        {"ru", "", chord({KEY_LEFTSHIFT, KEY_INSERT})}};
    for (const auto& [layout, variant, expected] : layouts) {
        ASSERT_TRUE(Program(runLoop, {"setxkbmap", "-layout", layout, "-variant", variant}).waitForEnd());
        EXPECT_EQ(paste(), expected) << layout;
    }
    EXPECT_FALSE(peer->paste("UTF8_STRING", "PRIMARY")) << "what is selected there stays selected";
    // By the letter's place where the table knows nothing else.
    bringToFront("Letters");
    EXPECT_EQ(paste(), chord({KEY_LEFTALT, KEY_Y}));
}

TEST_F(SyntheticKeysTest, AnApplicationWithoutSuchKeysIsSaidToHaveNone) {
    bringToFront("nvim-qt");
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(false));
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_EQ(told, 2) << "each time, as each time the user waits for it";
    EXPECT_EQ(paste(0.2), "");
    bringToFront("Mousepad");
    EXPECT_TRUE(keys.AXIsProcessTrustedWithOptions(true));
}

TEST_F(SyntheticKeysTest, WaitForTheUsersModifiersAndLeaveThemAlone) {
    write("words");
    person.press(KEY_LEFTMETA);
    keys.CGEventPost(commandV);
    keys.CGEventPost(commandV);
    wait([] { return false; }, 0.2);
    person.release(KEY_LEFTMETA);
    const auto twice = chord({KEY_LEFTCTRL, KEY_V}) + chord({KEY_LEFTCTRL, KEY_V});
    EXPECT_TRUE(wait([&] { return listener.keys() == " +125 -125" + twice; })) << listener.keys();

    person.press(KEY_LEFTCTRL);
    settle();
    EXPECT_EQ(paste(), chord({KEY_V})) << "after half a second, with the key that is held";
    EXPECT_TRUE(x11::KeysDown(*connection).test(x11::keyCodeOf(KEY_LEFTCTRL)));
    person.release(KEY_LEFTCTRL);
}

TEST_F(SyntheticKeysTest, ForAnOldTerminalTheSelectionIsLentForTheTimeOfThePaste) {
    const auto primary = [&] { return peer->paste("UTF8_STRING", "PRIMARY").value_or("-"); };
    write("words");
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_V}));
    EXPECT_EQ(primary(), "-") << "only where it is needed";
    bringToFront("XTerm");
    listener.forget();
    pasteboard->clearContents();
    pasteboard->setString("new words", NSPasteboardTypeString);
    keys.CGEventPost(commandV);
    presentOwner();
    EXPECT_EQ(listener.keys(), "") << "the clipboard isn't ours yet";
    EXPECT_TRUE(wait([&] { return listener.keys() == chord({KEY_LEFTSHIFT, KEY_INSERT}); }));
    EXPECT_EQ(primary(), "new words");
    EXPECT_EQ(peer->paste("UTF8_STRING"), "new words");
    EXPECT_TRUE(wait([&] { return primary() == "-"; }));
}

TEST(SyntheticKeysWithoutTheExtension, AreNotToBeHad) {
    const DisplayRig rig("XTEST");
    ASSERT_TRUE(rig.connection) << rig.trouble;
    auto& connection = *rig.connection;
    const x11::Workspace workspace(connection, *rig.windowManager, x11::DesktopFiles({}));
    const x11::Pasteboard pasteboard(connection);
    int told = 0;
    x11::SyntheticKeys keys(
        connection, *rig.keyboard, workspace, pasteboard, x11::PasteChords(),
        [&](x11::SyntheticKeys::Lack lack) { told += lack == x11::SyntheticKeys::Lack::extension; });
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(false));
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_EQ(told, 1) << "the user hears of it once";
    keys.CGEventPost(commandV);
}

TEST(PasteChords, NoProgramGetsKeysThatDoSomethingElseThere) {
    const x11::PasteChord control{.hasControl = true, .key = XKB_KEY_v};
    const x11::PasteChord shifted{.hasControl = true, .hasShift = true, .key = XKB_KEY_v};
    const x11::PasteChord yank{.hasControl = true, .key = XKB_KEY_y};
    const x11::PasteChord selected{.hasShift = true, .key = XKB_KEY_Insert, .readsPrimary = true};
    const struct {
        std::vector<std::string> names;
        x11::PasteChord first;
    } rows[] = {
        {{"gvim", "Gvim"}, selected},  // Ctrl+V marks a block
        {{"org.gnome.Terminal", "Gnome-terminal"}, shifted},
        {{"konsole"}, shifted},
        {{"debian-xterm", "XTerm"}, selected},
        {{"URxvt"}, selected},
        {{"emacs", "Emacs"}, yank},  // Ctrl+V scrolls
        {{"org.example.Unknown", "Unknown"}, control},
        {{}, control},
    };
    const x11::PasteChords chords;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.names.empty() ? "no name" : row.names.front());
        const auto& found = chords.chordsFor(row.names);
        ASSERT_FALSE(found.empty());
        EXPECT_EQ(found.front(), row.first);
        EXPECT_EQ(std::ranges::count(found, control), row.first == control ? 1 : 0);
    }
    EXPECT_TRUE(chords.chordsFor({"nvim-qt"}).empty());
}

TEST(PasteChords, TheUsersTableGoesOverTheProgramsOwn) {
    LogLines log;
    const x11::PasteChords chords(
        "# mine\n"
        "XTerm, my-term = ctrl + SHIFT+v  # since it learnt it\n"
        "org.example.Editor=Alt+Insert primary | Ctrl+V\r\n"
        "gvim = none\n"
        "broken = Hyper+V\n = Ctrl+V\nno chord\nhalf = Ctrl+V | Hyper+V\nempty =\n");
    using Chords = std::vector<x11::PasteChord>;
    const x11::PasteChord shifted{.hasControl = true, .hasShift = true, .key = XKB_KEY_v};
    EXPECT_EQ(chords.chordsFor({"debian-xterm", "XTerm"}), Chords{shifted});
    EXPECT_EQ(chords.chordsFor({"My-Term"}), Chords{shifted});
    EXPECT_EQ(chords.chordsFor({"ORG.example.Editor"}),
              (Chords{{.hasOption = true, .key = XKB_KEY_Insert, .readsPrimary = true},
                      {.hasControl = true, .key = XKB_KEY_v}}));
    EXPECT_EQ(chords.chordsFor({"gvim"}), Chords());
    EXPECT_EQ(chords.chordsFor({"kitty"}).front(), shifted);
    for (const auto* name : {"broken", "half", "empty"}) {
        EXPECT_EQ(chords.chordsFor({name}), chords.chordsFor({})) << name;
    }
    EXPECT_NE(log.text.find("PasteChords: Lines that can't be read: 5"), std::string::npos);
    LogLines silent;
    const auto own = x11::PasteChords::fromFile("/nowhere/at/all");
    EXPECT_EQ(own.chordsFor({}).front().key, XKB_KEY_v);
    EXPECT_EQ(silent.text, "") << "the program's own table can be read";
}

}  // namespace vellumix::tests
