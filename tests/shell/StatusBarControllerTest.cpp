#include "shell/StatusBarController.h"

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/view/paint/Renderer.h"
#include "platform/view/values/Views.h"
#include "shell/AppDelegate.h"
#include "support/FixedTextSetter.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class StatusBarControllerTest : public HeadlessTest {
protected:
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
        application.applicationDidFinishLaunching();
        ASSERT_TRUE(desktop.statusBar.icon());
        EXPECT_EQ(desktop.statusBar.icon()->symbolName, "scissors");
        EXPECT_EQ(desktop.statusBar.icon()->accessibilityDescription, "Vellumix");
    }
    EXPECT_FALSE(desktop.statusBar.icon());
}

TEST_F(StatusBarControllerTest, TheMenuSpeaksTheChosenLanguage) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    EXPECT_EQ(titles(), "Open | Settings | - | Quit");
    application.languageManager().currentLanguage.set(AppLanguage::ptBR);
    EXPECT_EQ(titles(), "Abrir | Configurações | - | Sair");
    application.languageManager().currentLanguage.set(AppLanguage::es);
    EXPECT_EQ(titles(), "Abrir | Configuración | - | Salir");
}

TEST_F(StatusBarControllerTest, QuitEndsTheMainLoop) {
    AppDelegate application;
    application.applicationDidFinishLaunching();
    const auto before = desktop.runLoop.now();
    desktop.runLoop.postAfter(1, [&] { EXPECT_TRUE(desktop.statusBar.choose("Quit")); });
    bool ranOn = false;
    desktop.runLoop.postAfter(2, [&] { ranOn = true; });
    desktop.runLoop.run();
    EXPECT_EQ(desktop.runLoop.now() - before, 1);
    EXPECT_FALSE(ranOn);
}

class FloatingPanelTest : public StatusBarControllerTest {
protected:
    FloatingPanelTest() {
        view::Renderer::shared().setTexts(view::fixedTextSetter());
        desktop.workspace.front =
            NSRunningApplication{.processIdentifier = 7, .bundleIdentifier = "editor", .window = 70};
    }
    void launch() {
        application = std::make_unique<AppDelegate>();
        application->applicationDidFinishLaunching();
    }
    void showWhole() {
        application->showPanel();
        desktop.runLoop.advance(0.3);
    }
    headless::Window& panel() const { return *desktop.windows.shown(NSWindow::Kind::panel); }
    bool isShown() const { return desktop.windows.shown(NSWindow::Kind::panel) != nullptr; }

    std::unique_ptr<AppDelegate> application;
    int taps = 0;
};

TEST_F(FloatingPanelTest, EachEntryOfTheMenuDoesWhatItSays) {
    launch();
    int settings = 0;
    const auto observation =
        NotificationCenter::defaultCenter().observe(StatusBarController::settingsRequested, [&](const auto&) {
            EXPECT_TRUE(isShown()) << "whoever listens is in the panel";
            ++settings;
        });
    EXPECT_FALSE(desktop.statusBar.choose("-"));
    for (const bool wasOpen : {false, true}) {
        for (const auto* title : {"Open", "Settings"}) {
            if (wasOpen) showWhole();
            settings = 0;
            ASSERT_TRUE(desktop.statusBar.choose(title));
            desktop.runLoop.advance(0.3);
            EXPECT_TRUE(isShown()) << title;
            EXPECT_TRUE(panel().isKeyWindow()) << title;
            EXPECT_EQ(panel().alphaValue(), 1) << title;
            EXPECT_EQ(settings, title == std::string("Settings")) << title;
            application->statusBar()->hideImmediately();
        }
    }
}

TEST_F(FloatingPanelTest, FadesInWithTheKeyboardAndLeavesTheFrontApplicationInFront) {
    launch();
    application->togglePanel();
    EXPECT_EQ(panel().alphaValue(), 0);
    EXPECT_TRUE(panel().isKeyWindow());
    EXPECT_EQ(panel().drawings, 1) << "the first frame is there with the window";
    desktop.runLoop.advance(0.1);
    EXPECT_GT(panel().alphaValue(), 0.5) << "ease-out";
    EXPECT_EQ(desktop.workspace.activated, std::vector{*application->previousApp}) << "after 0.05 seconds";
    EXPECT_TRUE(panel().isKeyWindow());
    desktop.runLoop.advance(0.2);
    EXPECT_EQ(panel().alphaValue(), 1);

    application->togglePanel();
    desktop.runLoop.advance(0.1);
    EXPECT_TRUE(isShown()) << "visible as long as it fades";
    desktop.runLoop.advance(0.1);
    EXPECT_FALSE(isShown());
    EXPECT_EQ(application->previousApp->window, 70u);
}

TEST_F(FloatingPanelTest, ShownAgainWhileItFadesOutItStays) {
    launch();
    showWhole();
    application->hidePanel();
    desktop.runLoop.advance(0.1);
    application->statusBar()->show();
    desktop.runLoop.advance(1);
    EXPECT_TRUE(isShown());
    EXPECT_EQ(panel().alphaValue(), 1);
    application->statusBar()->hideImmediately();
    EXPECT_FALSE(isShown());
}

TEST_F(FloatingPanelTest, WhileItFadesOutItTakesNothingAndTheHotkeyBringsItBack) {
    launch();
    application->setRootView([this] {
        return view::View(view::Button([this] { ++taps; }, view::ShapeView(view::Rectangle())))
            .frame({.maximumWidth = unbounded, .maximumHeight = unbounded});
    });
    showWhole();
    const auto press = [&] {
        const Point at{260 + 24, 225 + 24};
        panel().delegate()->pointerPressed({.at = at});
        panel().delegate()->pointerReleased(at, PointerButton::primary);
        panel().delegate()->keyPressed({.key = Key::tab});
        panel().delegate()->keyPressed({.key = Key::space, .text = " "});
        panel().delegate()->keyPressed({.modifiers = {.hasControl = true}, .character = "q"});
    };
    desktop.runLoop.postAfter(0, press);
    desktop.runLoop.run();
    EXPECT_EQ(taps, 2) << "as long as it is open, and then the program would end";

    panel().delegate()->keyPressed({.key = Key::escape});
    ASSERT_TRUE(isShown());
    EXPECT_EQ(desktop.windows.keyWindow(), nullptr) << "the keys are the next window's at once";
    EXPECT_TRUE(panel().ignoresMouseEvents);
    desktop.runLoop.postAfter(0.05, press);
    bool ranOn = false;
    desktop.runLoop.postAfter(0.1, [&] {
        ranOn = true;
        application->terminate();
    });
    desktop.runLoop.run();
    EXPECT_TRUE(ranOn);
    EXPECT_EQ(taps, 2);

    ASSERT_TRUE(isShown()) << "still fading";
    ASSERT_TRUE(desktop.hotkeys.press({9, cmdKey | optionKey}));
    desktop.runLoop.advance(0.3);
    ASSERT_TRUE(isShown());
    EXPECT_TRUE(panel().isKeyWindow());
    EXPECT_FALSE(panel().ignoresMouseEvents);
    EXPECT_EQ(panel().alphaValue(), 1);
    desktop.runLoop.postAfter(0, press);
    desktop.runLoop.run();
    EXPECT_EQ(taps, 4);
}

TEST_F(FloatingPanelTest, ControlAndQAloneEndsTheProgram) {
    launch();
    showWhole();
    const KeyModifiers others[] = {{.hasShift = true, .hasControl = true},
                                   {.hasControl = true, .hasOption = true},
                                   {.hasControl = true, .hasCommand = true}};
    bool ranOn = false;
    desktop.runLoop.postAfter(0, [&] {
        for (const auto& held : others) panel().delegate()->keyPressed({.modifiers = held, .character = "q"});
    });
    desktop.runLoop.postAfter(0.1, [&] {
        ranOn = true;
        panel().delegate()->keyPressed({.modifiers = {.hasControl = true}, .character = "q"});
    });
    desktop.runLoop.postAfter(0.2, [] { FAIL() << "it goes on"; });
    desktop.runLoop.run();
    EXPECT_TRUE(ranOn);
}

TEST_F(FloatingPanelTest, ClosesByAPressElsewhereEscapeAndChangesOfTheDesktopAloneAndItsQuestionGoesToo) {
    desktop.authentication.refusal.reset();
    launch();
    application->store().add(textItem("secret"));
    application->store().setLocked(application->store().items()->front(), true);
    const std::pair<const char*, std::function<void()>> causes[] = {
        {"a press elsewhere",
         [&] {
             desktop.windows.pressElsewhere({5, 5});
         }},
        {"escape", [&] { panel().delegate()->keyPressed({.key = Key::escape, .text = {}}); }},
        {"another workspace", [&] { desktop.windows.changeActiveSpace(); }},
        {"another monitor", [&] { desktop.windows.setMonitors(desktop.windows.monitors); }},
        {"the screen being locked",
         [&] {
             desktop.windows.resignSession();
             desktop.runLoop.advance(0);
             EXPECT_FALSE(isShown()) << "without a fade";
         }},
        {"the icon", [&] { desktop.statusBar.icon()->action(); }},
        {"a paste", [&] { application->pasteAndClose(textItem("open")); }},
        {"the desktop", [&] { panel().delegate()->closeRequested(); }},
    };
    for (const auto& [name, cause] : causes) {
        showWhole();
        desktop.windows.pressElsewhere(panel().frame().centre());
        desktop.runLoop.advance(0.3);
        ASSERT_TRUE(isShown()) << name;
        std::optional<AuthenticationManager::Result::Status> answer;
        application->lockCoordinator().requestAccess(application->store().items()->front(), "Because.",
                                                     [&](const auto& result) { answer = result.status; });
        ASSERT_EQ(desktop.authentication.prompts.size(), 1U) << name;
        cause();
        desktop.runLoop.advance(0.02);
        EXPECT_TRUE(desktop.authentication.prompts.empty()) << name << ": as soon as it goes";
        EXPECT_EQ(answer, AuthenticationManager::Result::Status::cancelled) << name;
        desktop.runLoop.advance(0.3);
        EXPECT_FALSE(isShown()) << name;
        desktop.windows.releaseButton();
        desktop.runLoop.advance(2);
        EXPECT_FALSE(desktop.windows.isMonitoringMouse()) << name;
    }
    desktop.windows.refusesMonitors = true;
    showWhole();
    application->togglePanel();
    desktop.runLoop.advance(0.3);
    EXPECT_FALSE(isShown()) << "where presses elsewhere can't be seen";
}

TEST_F(FloatingPanelTest, AClickOnTheIconIsOneThoughItsPressIsBesideThePanel) {
    launch();
    const Point icon{5, 5};
    const auto activate = [&] {
        desktop.statusBar.icon()->action();
        desktop.runLoop.advance(0.3);
        return isShown();
    };
    for (const double held : {0.0, 0.1, 0.3, 5.0}) {
        showWhole();
        desktop.windows.pressElsewhere(icon);
        desktop.runLoop.advance(held);
        desktop.windows.releaseButton();
        desktop.runLoop.advance(0.1);
        EXPECT_FALSE(activate()) << held;
        EXPECT_TRUE(activate()) << held << ": the next click";
    }
    showWhole();
    desktop.windows.pressElsewhere(icon);
    EXPECT_FALSE(activate()) << "where the press is told at once";

    showWhole();
    for (const auto at : {Point{900, 5}, icon}) {
        desktop.windows.pressElsewhere(at);
        desktop.windows.releaseButton();
        desktop.runLoop.advance(0.1);
    }
    EXPECT_TRUE(activate()) << "a press somewhere else, and then a click on the icon";
    desktop.windows.pressElsewhere({900, 5});
    desktop.windows.releaseButton();
    desktop.runLoop.advance(3);
    EXPECT_TRUE(activate()) << "by the icon's key, which presses nothing";
}

TEST_F(FloatingPanelTest, TheHotkeyOpensItAndClosesIt) {
    launch();
    ASSERT_TRUE(desktop.hotkeys.press({9, cmdKey | optionKey}));
    desktop.runLoop.advance(0.3);
    ASSERT_TRUE(isShown());
    ASSERT_TRUE(desktop.hotkeys.press({9, cmdKey | optionKey}));
    desktop.runLoop.advance(0.3);
    EXPECT_FALSE(isShown());
}

TEST_F(FloatingPanelTest, WhoAsksForItWhileItGoesGetsIt) {
    launch();
    application->showPanel();
    desktop.runLoop.advance(0.3);
    application->hidePanel();
    desktop.runLoop.advance(0.05);
    application->showPanel();
    desktop.runLoop.advance(0.3);
    EXPECT_TRUE(isShown());
}

TEST_F(FloatingPanelTest, AnEntryIsPastedWhereThePanelWasOpenedFromAndThenWhereTheUserIs) {
    const auto goesTo = [&](const char* text) {
        application->pasteAndClose(textItem(text));
        EXPECT_FALSE(isShown());
        EXPECT_FALSE(application->previousApp);
        desktop.runLoop.advance(1);
        return desktop.syntheticKeys.posted.back().to;
    };
    const auto elsewhere = NSRunningApplication{.processIdentifier = 8, .bundleIdentifier = "browser"};
    launch();
    application->togglePanel();
    desktop.runLoop.advance(0.3);
    desktop.workspace.front = elsewhere;
    EXPECT_EQ(goesTo("one"), 7);

    desktop.workspace.front = elsewhere;
    application->statusBar()->toggleFromStatusItem();
    EXPECT_EQ(goesTo("two"), 8);

    auto& store = application->store();
    store.add(textItem("three"));
    application->pasteAndClose(store.items()->front());
    store.remove(store.items()->front());
    desktop.runLoop.advance(1);
    EXPECT_EQ(desktop.syntheticKeys.posted.back().text, String("three")) << "deleted in the meantime";
}

TEST_F(FloatingPanelTest, StandsInTheMiddleAndThenWhereItWasLeftAlwaysOnTheScreen) {
    launch();
    for (const std::size_t active : {5U, 0U}) {
        application->statusBar()->hideImmediately();
        desktop.windows.activeMonitor = active;
        showWhole();
        EXPECT_EQ(panel().frame(), (Rect{{380, 28 + 161}, {520, 450}}))
            << "also where no monitor is the main one";
    }

    panel().setFrame({{-90, 700}, {520, 450}});
    desktop.runLoop.advance(0.1);
    application->statusBar()->hideImmediately();
    showWhole();
    EXPECT_EQ(panel().frame(), (Rect{{0, 350}, {520, 450}})) << "dragged partly off the screen";

    application->statusBar()->hideImmediately();
    desktop.windows.monitors.push_back({{{1280, 0}, {1920, 1080}}, {{1280, 0}, {1920, 1080}}});
    desktop.windows.activeMonitor = 1;
    showWhole();
    EXPECT_EQ(panel().frame().origin, (Point{1280, 630})) << "the like place on the other monitor";

    application->statusBar()->hideImmediately();
    desktop.windows.setMonitors({});
    desktop.runLoop.settle();
    showWhole();
    EXPECT_TRUE(isShown()) << "without any screen at its old frame";
}

TEST_F(FloatingPanelTest, IsNeverLargerThanItsScreenAndAsLargeAsBeforeOnOneThatHasRoom) {
    const NSScreen large{{{0, 0}, {1920, 1080}}, {{0, 0}, {1920, 1080}}};
    const NSScreen small{{{0, 0}, {1024, 768}}, {{0, 30}, {1024, 738}}};
    desktop.windows.monitors = {large};
    launch();
    showWhole();
    panel().setFrame({{100, 20}, {600, 1000}});
    desktop.runLoop.advance(0.1);
    const auto showOn = [&](const NSScreen& screen) {
        application->statusBar()->hideImmediately();
        desktop.windows.monitors = {screen};
        showWhole();
    };
    showOn(small);
    EXPECT_EQ(panel().frame().minY(), 30);
    EXPECT_EQ(panel().frame().size, (Size{600, 738}));
    EXPECT_EQ(UserDefaults::standard().value<double>("panelHeight"), 1000);
    showOn(large);
    EXPECT_EQ(panel().frame().size, (Size{600, 1000}));

    showOn(small);
    panel().setFrame({panel().frame().origin, {500, 738}});
    desktop.runLoop.advance(0.1);
    showOn(large);
    EXPECT_EQ(panel().frame().size, (Size{500, 1000})) << "only the side that the person has changed";
    showOn(small);
    for (const double height : {600.0, 738.0}) {
        panel().setFrame({panel().frame().origin, {500, height}});
        desktop.runLoop.advance(0.1);
    }
    showOn(large);
    EXPECT_EQ(panel().frame().size, (Size{500, 738})) << "chosen, though it is all there was";
}

TEST_F(FloatingPanelTest, APlaceAcrossTwoMonitorsIsOneAsLongAsBothAreThere) {
    const NSScreen left{{{0, 0}, {1280, 800}}, {{0, 28}, {1280, 772}}};
    const NSScreen right{{{1280, 0}, {1920, 1080}}, {{1280, 0}, {1920, 1080}}};
    const NSScreen under{{{0, 800}, {1280, 800}}, {{0, 800}, {1280, 800}}};
    desktop.windows.monitors = {left, right, under};
    launch();
    showWhole();
    const auto leaveAt = [&](Point origin) {
        panel().setFrame({origin, {520, 450}});
        desktop.runLoop.advance(0.1);
        application->statusBar()->hideImmediately();
    };
    const auto shownAgain = [&] {
        showWhole();
        return panel().frame().origin;
    };
    const Point across{1000, 200};
    leaveAt(across);
    EXPECT_EQ(shownAgain(), across);
    leaveAt(across);
    desktop.windows.activeMonitor = 1;
    EXPECT_EQ(shownAgain(), across) << "the active window is on the other one of them";
    leaveAt(across);
    {
        AppDelegate delegate;
        StatusBarController restarted(delegate.store(), delegate);
        restarted.currentSize = {520, 450};
        restarted.show();
        EXPECT_EQ(panel().frame().origin, across) << "after a restart";
        restarted.hideImmediately();
    }
    desktop.windows.activeMonitor = 2;
    EXPECT_TRUE(under.visibleFrame.contains(shownAgain())) << "on a third one it is as anywhere";
    desktop.windows.activeMonitor = 0;

    leaveAt(across);
    desktop.windows.monitors = {left};
    EXPECT_EQ(shownAgain(), (Point{760, 200})) << "without the other one, inside of what there is";
    desktop.windows.monitors = {left, right, under};
    leaveAt({1000, 700});
    EXPECT_EQ(shownAgain(), (Point{760, 28})) << "a corner of it would be nowhere";
}

TEST_F(FloatingPanelTest, ComesBackWhereItWasAfterARestart) {
    struct Case {
        double width, height, x, y;
        Size size;
        Point origin;
    };
    const Case cases[] = {
        {2000, 300, 1, 0, {800, 500}, {480, 28}},
        {0, 700, 0.5, 1, {420, 620}, {430, 180}},
        {400, 600, 1.2, 0.5, {400, 600}, {440, 114}},
    };
    for (const auto& stored : cases) {
        auto& defaults = UserDefaults::standard();
        defaults.set("panelWidth", PropertyValue(stored.width));
        defaults.set("panelHeight", PropertyValue(stored.height));
        defaults.set("panelRelativeX", PropertyValue(stored.x));
        defaults.set("panelRelativeY", PropertyValue(stored.y));
        defaults.set("hasCustomPosition", PropertyValue(true));
        AppDelegate delegate;
        StatusBarController controller(delegate.store(), delegate);
        EXPECT_EQ(controller.currentSize, stored.size);
        controller.show();
        EXPECT_EQ(panel().frame().origin, stored.origin);
    }
}

TEST_F(FloatingPanelTest, WhereItIsLeftIsStoredAndHoldsAfterTheNextLaunch) {
    launch();
    showWhole();
    panel().setFrame({{170, 189}, {600, 700}});
    desktop.runLoop.advance(0.1);
    const auto& defaults = UserDefaults::standard();
    const std::pair<const char*, double> stored[] = {{"panelWidth", 600},
                                                     {"panelHeight", 700},
                                                     {"panelRelativeX", 170.0 / (1280 - 600)},
                                                     // More than fits over the bottom edge.
                                                     {"panelRelativeY", 1}};
    for (const auto& [key, value] : stored)
        EXPECT_DOUBLE_EQ(defaults.value<double>(key).value_or(-1), value) << key;
    EXPECT_EQ(defaults.value<bool>("hasCustomPosition"), true);

    application.reset();
    launch();
    showWhole();
    EXPECT_EQ(panel().frame(), (Rect{{190, 28 + 772 - 450}, {520, 450}})) << "at the size of a first panel";
}

TEST_F(FloatingPanelTest, RightInACornerItIsOnOneMonitorAlone) {
    launch();
    showWhole();
    for (const Point corner : {Point{0, 28}, Point{760, 28}, Point{0, 350}, Point{760, 350}}) {
        panel().setFrame({corner, {520, 450}});
        desktop.runLoop.advance(0.1);
        EXPECT_FALSE(UserDefaults::standard().object("panelSpanningX")) << corner.x << ',' << corner.y;
        EXPECT_EQ(UserDefaults::standard().value<double>("panelRelativeX"), corner.x > 0 ? 1.0 : 0.0);
        EXPECT_EQ(UserDefaults::standard().value<double>("panelRelativeY"), corner.y > 28 ? 1.0 : 0.0);
    }
}

TEST_F(FloatingPanelTest, EveryWayOfHidingLocksWhatWasUnlockedForAWhile) {
    desktop.authentication.refusal.reset();
    launch();
    auto& store = application->store();
    store.add(textItem("secret"));
    store.setLocked(store.items()->front(), true);
    const auto isLocked = [&] { return store.items()->front().locked; };
    const auto showAndUnlock = [&] {
        showWhole();
        application->lockCoordinator().requestAccess(store.items()->front(), "Because.", [](const auto&) {});
        desktop.authentication.answer(true);
        desktop.runLoop.advance(0);
        ASSERT_FALSE(isLocked());
    };

    showAndUnlock();
    application->hidePanel();
    EXPECT_FALSE(isLocked()) << "it is still to be seen";
    desktop.runLoop.advance(0.3);
    EXPECT_TRUE(isLocked());

    showAndUnlock();
    application->statusBar()->hideImmediately();
    EXPECT_TRUE(isLocked()) << "before it returns";
}

}  // namespace
}  // namespace vellumix
