#include "shell/StatusBarController.h"

#include "shell/AppDelegate.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class StatusBarControllerTest : public HeadlessTest {
protected:
    static AppDelegate::ProcessInfo started() {
        return {{}, [](const std::string&) { return std::optional<std::string>(); }};
    }
    std::string titles() const {
        std::string all;
        for (const auto& entry : desktop.statusBar.icon()->menu) {
            if (!all.empty()) all += " | ";
            all += entry.kind == StatusMenuEntry::Kind::separator ? "-" : entry.title;
        }
        return all;
    }
};

TEST_F(StatusBarControllerTest, TheIconIsThereFromLaunchToTheEnd) {
    {
        AppDelegate application;
        EXPECT_FALSE(desktop.statusBar.icon());
        application.applicationDidFinishLaunching(started());
        ASSERT_TRUE(desktop.statusBar.icon());
        EXPECT_EQ(desktop.statusBar.icon()->symbolName, "scissors");
        EXPECT_EQ(desktop.statusBar.icon()->accessibilityDescription, "Vellumix");
        EXPECT_FALSE(desktop.statusBar.choose("Vellumix")) << "the first line only says whose menu it is";
    }
    EXPECT_FALSE(desktop.statusBar.icon());
}

TEST_F(StatusBarControllerTest, TheMenuSpeaksTheChosenLanguage) {
    AppDelegate application;
    application.applicationDidFinishLaunching(started());
    EXPECT_EQ(titles(), "Vellumix | - | Quit");
    application.languageManager().currentLanguage.set(AppLanguage::ptBR);
    EXPECT_EQ(titles(), "Vellumix | - | Sair");
    application.languageManager().currentLanguage.set(AppLanguage::es);
    EXPECT_EQ(titles(), "Vellumix | - | Salir");
}

TEST_F(StatusBarControllerTest, QuitEndsTheMainLoop) {
    AppDelegate application;
    application.applicationDidFinishLaunching(started());
    const auto before = desktop.runLoop.now();
    desktop.runLoop.postAfter(1, [&] { EXPECT_TRUE(desktop.statusBar.choose("Quit")); });
    bool ranOn = false;
    desktop.runLoop.postAfter(2, [&] { ranOn = true; });
    desktop.runLoop.run();
    EXPECT_EQ(desktop.runLoop.now() - before, 1);
    EXPECT_FALSE(ranOn);
}

}  // namespace
}  // namespace vellumix
