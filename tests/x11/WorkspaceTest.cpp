#include "platform/x11/applications/Workspace.h"

#include <filesystem>
#include <fstream>

#include "x11/Person.h"
#include "x11/Program.h"
#include "x11/X11Test.h"

namespace vellumix::tests {

class WorkspaceTest : public X11Test {
protected:
    WorkspaceTest() {
        std::filesystem::create_directories(folder);
        std::ofstream(folder + "/org.example.Writer.desktop")
            << "[Desktop Entry]\nName=Writer\nStartupWMClass=Writer-Main\n";
        std::ofstream(folder + "/painter.desktop") << "[Desktop Entry]\nName=Painter\n";
    }
    static std::string windowClass(const std::string& name) {
        return std::string("instance\0", 9) + name + '\0';
    }
    ~WorkspaceTest() override { std::filesystem::remove_all(folder); }

    const std::string folder = testing::TempDir() + "vellumix-" + display.name().substr(1) + "/applications";
};

TEST_F(WorkspaceTest, FollowsTheActiveWindow) {
    const x11::Workspace workspace(*connection, *windowManager, x11::DesktopFiles({folder}));
    EXPECT_FALSE(workspace.frontmostApplication());
    peer->tellsWindows();

    using Texts = std::map<std::string, std::string>;
    const std::vector<std::pair<Texts, std::optional<std::string>>> cases{
        {{{"_GTK_APPLICATION_ID", "org.gnome.gedit"}, {"WM_CLASS", windowClass("Gedit")}}, "org.gnome.gedit"},
        {{{"_KDE_NET_WM_DESKTOP_FILE", "org.kde.kate"}}, "org.kde.kate"},
        {{{"BAMF_DESKTOP_FILE_HINT", "/usr/share/applications/firefox.desktop"}}, "firefox"},
        {{{"WM_CLASS", windowClass("writer-main")}}, "org.example.Writer"},
        {{{"WM_CLASS", windowClass("Painter")}}, "painter"},
        {{{"WM_CLASS", windowClass("XTerm")}}, "XTerm"},
        {{{"WM_CLASS", "lonely"}}, "lonely"},
        {{{"WM_CLASS", windowClass("../painter")}}, "../painter"},
        {{}, std::nullopt},
    };
    std::uint32_t process = 100;
    for (const auto& [texts, expected] : cases) {
        SCOPED_TRACE(expected.value_or("no name"));
        peer->setRootWindow("_NET_ACTIVE_WINDOW", peer->makeWindow(texts, ++process));
        ASSERT_TRUE(wait([&] {
            const auto front = workspace.frontmostApplication();
            return front && front->processIdentifier == static_cast<int>(process);
        }));
        EXPECT_EQ(workspace.frontmostApplication()->bundleIdentifier, expected);
    }
    peer->setRootWindow("_NET_ACTIVE_WINDOW", 0);
    EXPECT_TRUE(wait([&] { return !workspace.frontmostApplication(); }));
    // A window that has gone already.
    const auto window = peer->makeWindow({}, 7);
    peer->setRootWindow("_NET_ACTIVE_WINDOW", window);
    ASSERT_TRUE(wait([&] { return workspace.frontmostApplication().has_value(); }));
    peer->setRootWindow("_NET_ACTIVE_WINDOW", window + 1000);
    EXPECT_TRUE(wait([&] { return !workspace.frontmostApplication(); }));
}

TEST_F(WorkspaceTest, OfADesktopFileNoMoreIsReadThanItsBeginning) {
    const std::string much(300'000, '#');
    std::ofstream(folder + "/late.desktop") << "[Desktop Entry]\n" << much << "\nStartupWMClass=Late-Class\n";
    std::ofstream(folder + "/long.desktop") << "[Desktop Entry]\nStartupWMClass=Long-Class\n" << much;
    x11::DesktopFiles files({folder});
    EXPECT_EQ(files.idForClass("Long-Class"), "long");
    EXPECT_EQ(files.idForClass("Late-Class"), std::nullopt);
}

/// Windows of another program without anybody who manages them.
class BareWindows {
public:
    BareWindows() : xcb(xcb_connect(nullptr, nullptr)) {}

    /// A square in the root, or all of another window.
    xcb_window_t add(xcb_window_t parent, std::int16_t at, std::uint16_t side,
                     const std::map<std::string, std::string>& texts = {}) {
        const auto window = xcb_generate_id(xcb.get());
        xcb_create_window(xcb.get(), XCB_COPY_FROM_PARENT, window, parent, at, at, side, side, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        for (const auto& [name, text] : texts) {
            const auto atom = x11::xcb::await<xcb_intern_atom_reply>(
                xcb.get(),
                xcb_intern_atom(xcb.get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
            xcb_change_property(xcb.get(), XCB_PROP_MODE_REPLACE, window, atom->atom, XCB_ATOM_STRING, 8,
                                static_cast<std::uint32_t>(text.size()), text.data());
        }
        xcb_map_window(xcb.get(), window);
        focus(XCB_INPUT_FOCUS_POINTER_ROOT);
        return window;
    }
    void focus(xcb_window_t window) {
        xcb_set_input_focus(xcb.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        x11::xcb::await<xcb_get_input_focus_reply>(xcb.get(), xcb_get_input_focus(xcb.get()));
    }

private:
    x11::xcb::ConnectionHandle xcb;
};

TEST_F(WorkspaceTest, TheFocusTellsWhereNobodyElseDoes) {
    x11::Workspace workspace(*connection, *windowManager, x11::DesktopFiles({folder}));
    const auto front = [&]() -> std::string {
        const auto found = workspace.frontmostApplication();
        return found ? found->bundleIdentifier.value_or("no name") : "nobody";
    };
    BareWindows other;
    Person person;
    const auto root = connection->root();
    // As toolkits and old window managers nest them.
    const auto plain = other.add(root, 0, 50, {{"WM_CLASS", windowClass("Plain")}});
    const auto inner = other.add(plain, 0, 50, {{"WM_CLASS", windowClass("Part")}});
    const auto frame = other.add(root, 100, 50, {{"WM_CLASS", windowClass("Frame")}});
    const auto framed = other.add(frame, 0, 50, {{"WM_CLASS", windowClass("XTerm")}, {"WM_STATE", "1"}});
    const auto deepest = other.add(framed, 0, 50);
    const auto nameless = other.add(root, 200, 50);
    const std::pair<xcb_window_t, std::string> focused[] = {
        {inner, "Plain"}, {framed, "XTerm"},     {deepest, "XTerm"},
        {plain, "Plain"}, {nameless, "no name"}, {XCB_INPUT_FOCUS_NONE, "nobody"}};
    for (const auto& [window, expected] : focused) {
        other.focus(window);
        EXPECT_EQ(front(), expected);
    }
    for (const auto anywhere : {xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT}, root}) {
        other.focus(anywhere);
        const std::pair<double, std::string> under[] = {{10, "Plain"}, {110, "XTerm"}, {300, "nobody"}};
        for (const auto& [at, expected] : under) {
            person.moveTo({at, at});
            EXPECT_EQ(front(), expected);
        }
    }
    // A window of our own, as the panel is, leaves in front what was.
    person.moveTo({10, 10});
    EXPECT_EQ(front(), "Plain");
    const x11::Window own(*connection);
    x11::xcb::succeeded(connection->xcb(), xcb_map_window_checked(connection->xcb(), own.id()));
    other.focus(own.id());
    EXPECT_EQ(front(), "Plain");
    other.focus(inner);

    // Who tells better is believed, for as long as it runs.
    peer->tellsWindows();
    peer->setRootWindow("_NET_ACTIVE_WINDOW", framed);
    EXPECT_TRUE(wait([&] { return front() == "XTerm"; }));
    peer->die();
    EXPECT_TRUE(wait([&] { return front() == "Plain"; }));
}

TEST_F(WorkspaceTest, WithoutAManagerTheFocusIsGivenAndGivenBack) {
    x11::Workspace workspace(*connection, *windowManager, x11::DesktopFiles({folder}));
    BareWindows other;
    Person person;
    const auto window = other.add(connection->root(), 0, 50, {{"WM_CLASS", windowClass("Plain")}});
    other.add(connection->root(), 100, 50, {{"WM_CLASS", windowClass("Elsewhere")}});
    person.moveTo({10, 10});
    const auto target = workspace.frontmostApplication();
    ASSERT_TRUE(target);
    EXPECT_EQ(target->window, window);
    EXPECT_TRUE(workspace.activate(*target));
    person.moveTo({110, 110});
    EXPECT_EQ(person.focus(), xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT}) << "it had the keys already";
    EXPECT_TRUE(workspace.activate(*target));
    EXPECT_EQ(workspace.frontmostApplication()->window, window);
    EXPECT_TRUE(wait([&] { return person.focus() == XCB_INPUT_FOCUS_POINTER_ROOT; }))
        << "the keys follow the pointer again";
    // Whoever chooses the focus keeps it.
    other.focus(window);
    EXPECT_TRUE(workspace.activate({.window = window}));
    EXPECT_EQ(person.focus(), window);
}

TEST_F(WorkspaceTest, KnowsARealProgramUnderARealWindowManager) {
    const x11::Workspace workspace(*connection, *windowManager, x11::DesktopFiles({folder}));
    setenv("HOME", folder.c_str(), 1);
    const Program manager(runLoop, {"openbox", "--sm-disable"});
    // A window that is there before its manager isn't given the focus.
    ASSERT_TRUE(wait([&] { return peer->hasRootProperty("_NET_NUMBER_OF_DESKTOPS"); }, 20));
    const Program terminal(runLoop, {"xterm", "-e", "cat"});
    ASSERT_TRUE(wait([&] { return workspace.frontmostApplication().has_value(); }, 20));
    EXPECT_EQ(workspace.frontmostApplication()->bundleIdentifier, "XTerm");
    EXPECT_GT(workspace.frontmostApplication()->processIdentifier, 0);
}

}  // namespace vellumix::tests
