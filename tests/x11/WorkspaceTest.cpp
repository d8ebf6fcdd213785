#include "platform/x11/Workspace.h"

#include <filesystem>
#include <fstream>

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
    ~WorkspaceTest() override { std::filesystem::remove_all(folder); }

    const std::string folder = testing::TempDir() + "vellumix-" + display.name().substr(1) + "/applications";
};

TEST_F(WorkspaceTest, FollowsTheActiveWindow) {
    const x11::Workspace workspace(*connection, x11::DesktopFiles({folder}));
    EXPECT_FALSE(workspace.frontmostApplication()) << "without a window manager nobody is in front";

    using Texts = std::map<std::string, std::string>;
    const auto windowClass = [](const std::string& name) {
        return std::string("instance\0", 9) + name + '\0';
    };
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

TEST_F(WorkspaceTest, KnowsARealProgramUnderARealWindowManager) {
    const x11::Workspace workspace(*connection, x11::DesktopFiles({folder}));
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
