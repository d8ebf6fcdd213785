// Keys that the program presses, as the program in front sees them.

#include "platform/x11/keys/SyntheticKeys.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <algorithm>

#include "platform/x11/keys/Hotkeys.h"
#include "x11/KeyListener.h"
#include "x11/Person.h"
#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

namespace {

using Meaning = x11::ApplicationChords::Meaning;

constexpr KeyChord commandV{.keyCode = 9, .flags = kCGEventFlagMaskCommand};

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

    x11::Workspace workspace{*connection, *windowManager, x11::DesktopFiles({}),
                             x11::ApplicationChords("letters = Alt+Y")};
    int told = 0;
    x11::KeyGrabs grabs{*connection, *keyboard};
    x11::SyntheticKeys keys{
        *connection, *keyboard, grabs, workspace, *pasteboard, {}, [this](x11::SyntheticKeys::Lack lack) {
            told += lack == x11::SyntheticKeys::Lack::chord;
        }};
    KeyListener listener{*connection};
    Person person;
};

TEST_F(SyntheticKeysTest, PasteByTheKeysOfTheApplicationAndTheLayout) {
    EXPECT_TRUE(keys.AXIsProcessTrustedWithOptions(true));
    keys.CGEventPost({.keyCode = 12, .flags = kCGEventFlagMaskCommand});
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_V})) << "without anybody in front; Command-Q is unknown";
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

TEST_F(SyntheticKeysTest, ACutWaitsForTheUsersHandsAndForTheCopyOfThatVeryWindow) {
    const auto copied = chord({KEY_LEFTCTRL, KEY_C});
    const auto trashed = chord({KEY_DELETE});
    Peer manager(runLoop), other(runLoop);
    const auto cutIn = [&](Peer& application, const std::string& name,
                           const std::function<void()>& meanwhile) {
        application.tellsWindows();
        static std::uint32_t process = 500;
        application.setRootWindow("_NET_ACTIVE_WINDOW",
                                  application.makeWindow({{"WM_CLASS", windowClass(name)}}, ++process));
        EXPECT_TRUE(wait([&] {
            const auto front = workspace.frontmostApplication();
            return front && front->processIdentifier == static_cast<int>(process);
        }));
        listener.forget();
        keys.CGEventPost({.keyCode = 8, .flags = kCGEventFlagMaskCommand});
        keys.CGEventPost({.keyCode = 51, .flags = kCGEventFlagMaskCommand});
        meanwhile();
        wait([&] { return listener.keys() == copied + trashed; }, 0.8);
        return listener.keys();
    };
    const auto untilCopied = [&] { EXPECT_TRUE(wait([&] { return listener.keys().ends_with(copied); })); };
    EXPECT_EQ(cutIn(manager, "Thunar",
                    [&] {
                        untilCopied();
                        wait([] { return false; }, 0.1);
                        EXPECT_EQ(listener.keys(), copied) << "nothing is copied yet";
                        manager.copyText("a file");
                    }),
              copied + trashed);
    EXPECT_EQ(cutIn(manager, "Thunar", untilCopied), copied) << "nothing was selected";
    EXPECT_EQ(cutIn(manager, "Thunar", [&] { other.copyText("words"); }), copied) << "another program's copy";
    EXPECT_EQ(cutIn(manager, "Spacefm", [&] { manager.copyText("a file"); }), copied)
        << "no key for the trash";
    EXPECT_EQ(cutIn(manager, "XTerm", [&] { manager.copyText("a file"); }), "") << "no key to copy";
    person.press(KEY_LEFTMETA);
    const auto held = [&](const std::function<void()>& action) {
        return [&, action] {
            wait([] { return false; }, 0.7);
            EXPECT_EQ(listener.keys(), "") << "longer than a paste waits";
            action();
        };
    };
    EXPECT_EQ(cutIn(manager, "Thunar", held([&] {
                        person.release(KEY_LEFTMETA);
                        listener.forget();
                        untilCopied();
                        manager.copyText("a file");
                    })),
              copied + trashed);
    person.press(KEY_LEFTMETA);
    EXPECT_EQ(cutIn(manager, "Thunar", held([&] {
                        bringToFront("Pcmanfm");
                        person.release(KEY_LEFTMETA);
                        listener.forget();
                        manager.copyText("a file");
                    })),
              "")
        << "another window is in front by now";
}

TEST_F(SyntheticKeysTest, NoShortcutOfTheProgramsOwnHearsOfThem) {
    x11::Hotkeys hotkeys(*connection, grabs);
    int presses = 0;
    const auto handler = Hotkeys::InstallEventHandler([&] { ++presses; });
    const auto hotkey = hotkeys.RegisterEventHotKey(9, controlKey, handler);
    ASSERT_TRUE(hotkey);
    EXPECT_EQ(paste(), chord({KEY_LEFTCTRL, KEY_V}));
    EXPECT_EQ(presses, 0);
    person.press(KEY_LEFTCTRL);
    person.typeKey(KEY_V);
    person.release(KEY_LEFTCTRL);
    EXPECT_TRUE(wait([&] { return presses == 1; })) << "it is still the hotkey";
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
    x11::KeyGrabs grabs(connection, *rig.keyboard);
    x11::SyntheticKeys keys(
        connection, *rig.keyboard, grabs, workspace, pasteboard, {},
        [&](x11::SyntheticKeys::Lack lack) { told += lack == x11::SyntheticKeys::Lack::extension; });
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(false));
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_FALSE(keys.AXIsProcessTrustedWithOptions(true));
    EXPECT_EQ(told, 1) << "the user hears of it once";
    keys.CGEventPost(commandV);
}

TEST(ApplicationChords, NoProgramGetsKeysThatDoSomethingElseThere) {
    const x11::ApplicationChord control{.modifiers = {.hasControl = true}, .key = XKB_KEY_v};
    const x11::ApplicationChord shifted{.modifiers = {.hasShift = true, .hasControl = true},
                                        .key = XKB_KEY_v};
    const x11::ApplicationChord yank{.modifiers = {.hasControl = true}, .key = XKB_KEY_y};
    const x11::ApplicationChord selected{
        .modifiers = {.hasShift = true}, .key = XKB_KEY_Insert, .readsPrimary = true};
    const struct {
        std::vector<std::string> names;
        x11::ApplicationChord first;
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
    const x11::ApplicationChords chords;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.names.empty() ? "no name" : row.names.front());
        const auto& found = chords.chordsFor(Meaning::paste, row.names);
        ASSERT_FALSE(found.empty());
        EXPECT_EQ(found.front(), row.first);
        EXPECT_EQ(std::ranges::count(found, control), row.first == control ? 1 : 0);
    }
    EXPECT_TRUE(chords.chordsFor(Meaning::paste, {"nvim-qt"}).empty());
    // Ctrl+C ends what runs in a terminal, and a key that deletes is for those alone who have a trash.
    for (const auto* name : {"xterm", "gvim", "nvim-qt"}) {
        EXPECT_TRUE(chords.chordsFor(Meaning::copy, {name}).empty()) << name;
    }
    EXPECT_TRUE(chords.chordsFor(Meaning::copy, {"kitty"}).front().modifiers.hasShift);
    for (const auto* name : {"Thunar", "Pcmanfm", "pcmanfm-qt", "org.gnome.Nautilus", "Nemo", "caja",
                             "dolphin", "krusader", "Spacefm"}) {
        EXPECT_TRUE(chords.isFileManager({"an unknown id", name})) << name;
        EXPECT_EQ(chords.chordsFor(Meaning::copy, {name}).front().key, XKB_KEY_c) << name;
        const auto& trash = chords.chordsFor(Meaning::trash, {name});
        // Its key removes for good.
        const bool hasNone = std::string_view(name) == "Spacefm";
        EXPECT_TRUE(hasNone ? trash.empty() : trash.front() == x11::ApplicationChord{.key = XKB_KEY_Delete})
            << name;
    }
    for (const auto* name : {"Mousepad", "XTerm", "an unknown one"}) {
        EXPECT_FALSE(chords.isFileManager({name})) << name;
        EXPECT_TRUE(chords.chordsFor(Meaning::trash, {name}).empty()) << name;
    }
}

TEST(ApplicationChords, TheUsersTableGoesOverTheProgramsOwn) {
    LogLines log;
    const x11::ApplicationChords chords(
        "# mine\n"
        "XTerm, my-term = ctrl + SHIFT+v  # since it learnt it\n"
        "org.example.Editor=Alt+Insert primary | Ctrl+V\r\n"
        "gvim = none\n"
        "mine = trash Ctrl+Delete\nboth = Ctrl+V; copy none ;trash Delete\nthunar = trash as others\n"
        "half = Ctrl+V; trash Hyper+V\n* = trash as others\n"
        "broken = Hyper+V\n = Ctrl+V\nno chord\nhalf = Ctrl+V | Hyper+V\nempty =\n");
    using Chords = std::vector<x11::ApplicationChord>;
    const x11::ApplicationChord shifted{.modifiers = {.hasShift = true, .hasControl = true},
                                        .key = XKB_KEY_v};
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"debian-xterm", "XTerm"}), Chords{shifted});
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"My-Term"}), Chords{shifted});
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"ORG.example.Editor"}),
              (Chords{{.modifiers = {.hasOption = true}, .key = XKB_KEY_Insert, .readsPrimary = true},
                      {.modifiers = {.hasControl = true}, .key = XKB_KEY_v}}));
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"gvim"}), Chords());
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"kitty"}).front(), shifted);
    for (const auto* name : {"broken", "half", "empty"}) {
        EXPECT_EQ(chords.chordsFor(Meaning::paste, {name}), chords.chordsFor(Meaning::paste, {})) << name;
    }
    EXPECT_NE(log.text.find("ApplicationChords: Lines that can't be read: 6"), std::string::npos);
    EXPECT_TRUE(chords.isFileManager({"mine"}));
    EXPECT_EQ(chords.chordsFor(Meaning::paste, {"mine"}), chords.chordsFor(Meaning::paste, {}));
    EXPECT_EQ(chords.chordsFor(Meaning::copy, {"both"}), Chords());
    EXPECT_FALSE(chords.isFileManager({"thunar"})) << "taken off the list";
    EXPECT_EQ(chords.chordsFor(Meaning::copy, {"thunar"}).front().key, XKB_KEY_c);
    LogLines silent;
    const auto own = x11::ApplicationChords::fromFile("/nowhere/at/all");
    EXPECT_EQ(own.chordsFor(Meaning::paste, {}).front().key, XKB_KEY_v);
    EXPECT_EQ(silent.text, "") << "the program's own table can be read";
}

}  // namespace vellumix::tests
