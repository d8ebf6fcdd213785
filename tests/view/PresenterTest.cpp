#include "platform/view/windows/AlertWindow.h"
#include "platform/view/windows/AttachedWindow.h"
#include "platform/view/windows/ModalAlerts.h"
#include "view/HostedWindow.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

using Kind = NSWindow::Kind;
using Log = std::vector<std::string>;

class Presenting : public HostedWindowTest {
protected:
    Presenting() {
        // Keys are meant for rows, wherever the pointer rests.
        desktop.windows.pointer = {-1, -1};
    }

    Action saying(const char* what) {
        return [this, what] { log.emplace_back(what); };
    }
    View menu() {
        return Menu(Text("Change").frame(80, 24), [this] {
            return std::vector<MenuItem>{{.title = "Upper", .action = saying("upper")},
                                         {.title = "Lower", .isChecked = true, .action = saying("lower")},
                                         {.isSeparator = true},
                                         {.title = "Off", .isEnabled = false, .action = saying("off")},
                                         {.title = "Trim", .action = saying("trim")}};
        });
    }
    std::string lit() {
        const auto& tree = treeOf(shown(Kind::menu));
        for (const auto* title : {"Upper", "Lower", "Off", "Trim"}) {
            const auto window = tree.semantics();
            const auto* item = window.find(Role::menuItem, title);
            if (item && item->state.isSelected) return title;
        }
        return "";
    }

    Log log;
};

TEST_F(Presenting, AMenuIsWorkedByClicksByADragAndByKeys) {
    auto& owner = open(menu().frame(
        {.maximumWidth = unbounded, .maximumHeight = unbounded, .alignment = Alignment::topLeading()}));
    Log keyStates;
    const auto keys = host->observeKeyState([&](bool isKey) { keyStates.emplace_back(isKey ? "+" : "-"); });

    click(owner, Role::menuButton, "Change");
    // Under its button, as wide as the widest of rows, button and least width.
    EXPECT_EQ(shown(Kind::menu).frame().origin, (Point{100, 127}));
    EXPECT_TRUE(find(shown(Kind::menu), Role::menuItem, "Lower").state.isChecked);
    click(shown(Kind::menu), Role::menuItem, "Off");
    EXPECT_TRUE(isShown(Kind::menu));
    click(shown(Kind::menu), Role::menuItem, "Lower");
    EXPECT_FALSE(isShown(Kind::menu));
    EXPECT_EQ(log, Log{"lower"});

    // Held from the button to an item: the owner's events go on during the press.
    const auto button = centreOf(owner, Role::menuButton, "Change");
    owner.delegate()->pointerPressed({.at = button});
    const auto item = centreOf(shown(Kind::menu), Role::menuItem, "Trim");
    const auto onItem = item + shown(Kind::menu).frame().origin - owner.frame().origin;
    owner.delegate()->pointerMoved(onItem);
    desktop.runLoop.advance(0.05);
    EXPECT_EQ(lit(), "Trim");
    owner.delegate()->pointerReleased(onItem, PointerButton::primary);
    EXPECT_EQ(log, (Log{"lower", "trim"}));

    // The light goes out behind the pointer. A drag that ends where nothing can be chosen leaves the menu,
    // and one that ends beside it closes it.
    const auto dragTo = [&](Point at) {
        owner.delegate()->pointerMoved(at);
        desktop.runLoop.advance(0.05);
        return lit();
    };
    const auto onTitle = [&](const char* title) {
        return centreOf(shown(Kind::menu), Role::menuItem, title) + shown(Kind::menu).frame().origin -
               owner.frame().origin;
    };
    owner.delegate()->pointerPressed({.at = button});
    EXPECT_EQ(dragTo(onTitle("Upper")), "Upper");
    const auto onOff = onTitle("Off");
    EXPECT_EQ(dragTo(onOff), "");
    owner.delegate()->pointerReleased(onOff, PointerButton::primary);
    EXPECT_TRUE(isShown(Kind::menu));
    press(Key::escape);
    owner.delegate()->pointerPressed({.at = button});
    EXPECT_EQ(dragTo({390, 290}), "");
    owner.delegate()->pointerReleased({390, 290}, PointerButton::primary);
    EXPECT_FALSE(isShown(Kind::menu));
    EXPECT_EQ(log, (Log{"lower", "trim"}));

    desktop.runLoop.advance(1);
    press(Key::tab);
    press(Key::down);
    Log walked;
    for (const auto key : {Key::down, Key::down, Key::down, Key::down, Key::up, Key::home, Key::end}) {
        press(key);
        walked.push_back(lit());
    }
    EXPECT_EQ(walked, (Log{"Upper", "Lower", "Trim", "Upper", "Trim", "Upper", "Trim"}));
    press(Key::character, "l");
    EXPECT_EQ(lit(), "Lower");
    press(Key::enter);
    EXPECT_EQ(log, (Log{"lower", "trim", "lower"}));
    press(Key::space);
    EXPECT_TRUE(isShown(Kind::menu));
    press(Key::escape);
    EXPECT_FALSE(isShown(Kind::menu));
    // All the while the owner had the keyboard, as far as others are concerned.
    desktop.runLoop.advance(1);
    EXPECT_EQ(keyStates, Log{});
}

TEST_F(Presenting, AMenuGoesWithAPressElsewhereAndWithItsOwner) {
    int presses = 0;
    auto& owner = open(VStack(Spacing(0), menu(), Button([&] { ++presses; }, Text("Other"))));
    click(owner, Role::menuButton, "Change");
    click(owner, Role::button, "Other");
    EXPECT_FALSE(isShown(Kind::menu));
    EXPECT_EQ(presses, 0);
    click(owner, Role::button, "Other");
    EXPECT_EQ(presses, 1);

    click(owner, Role::menuButton, "Change");
    desktop.windows.pressElsewhere({5, 700});
    EXPECT_FALSE(isShown(Kind::menu));
    EXPECT_FALSE(desktop.windows.isMonitoringMouse());

    click(owner, Role::menuButton, "Change");
    host->orderOut();
    EXPECT_FALSE(isShown(Kind::menu));
    EXPECT_EQ(log, Log{});
}

TEST(ReadableOn, ChoosesTheLetterThatStandsOut) {
    const std::pair<Color, bool> grounds[] = {
        {Color::grey(1), true},   {Color::grey(0.7), true}, {Color::grey(0.6), false},
        {Color::grey(0), false},  {{0.9, 0.3, 0.3}, false}, {{1, 1, 0}, true},
        {{0, 1, 0}, true},        {{0.1, 0.6, 0.1}, false}, {{0, 0, 1}, false},
        {{0.7, 0.6, 0.6}, false}, {{0.6, 0.7, 0.7}, true},  {{0, 0.73, 1}, true},
    };
    for (const auto& [ground, isDark] : grounds) {
        EXPECT_EQ(readableOn(ground).red < 0.5, isDark)
            << ground.red << ' ' << ground.green << ' ' << ground.blue;
    }
}

TEST(Floating, HasAShadowWhereThereIsRoomAndRoundCornersWhereTheScreenMixes) {
    const struct {
        Chrome chrome;
        std::size_t shadows;
        Shape::Kind ground;
    } cases[] = {
        {{.shadowRoom = Insets::all(16), .isTranslucent = true}, 1, Shape::Kind::roundedRectangle},
        {{.shadowRoom = Insets::all(15), .isTranslucent = true}, 0, Shape::Kind::roundedRectangle},
        {{.shadowRoom = Insets::all(16)}, 0, Shape::Kind::rectangle},
    };
    for (const auto& one : cases) {
        TreeUnderTest tree(floating(Text("a"), 6, ControlPalette(), one.chrome));
        EXPECT_EQ(tree.drawn<draw::Shadow>().size(), one.shadows);
        EXPECT_EQ(tree.drawn<draw::Fill>().at(0).shape.kind, one.ground);
    }
}

TEST_F(Presenting, AMenuStaysOnTheScreen) {
    std::size_t count = 4;
    auto& owner = open(Menu(Text("Many"), [&] {
        std::vector<MenuItem> items(count);
        for (std::size_t at = 0; at < count; ++at) items[at].title = std::to_string(at);
        return items;
    }));
    owner.setFrame({{1200, 700}, {80, 100}});
    desktop.runLoop.advance(1);
    click(owner, Role::menuButton, "Many");
    const auto above = shown(Kind::menu).frame();
    EXPECT_LE(above.maxY(), 745);
    EXPECT_EQ(above.maxX(), 1280);
    press(Key::escape);

    count = 100;
    click(owner, Role::menuButton, "Many");
    EXPECT_EQ(shown(Kind::menu).frame().minY(), 28);
    EXPECT_EQ(shown(Kind::menu).frame().size.height, 772);
    press(Key::end);
    EXPECT_TRUE(find(shown(Kind::menu), Role::menuItem, "99").state.isSelected);
    press(Key::escape);

    count = 0;
    click(owner, Role::menuButton, "Many");
    EXPECT_FALSE(isShown(Kind::menu));
}

TEST_F(Presenting, HelpComesAfterARestAndGoesWithAnyUse) {
    auto& owner =
        open(HStack(Spacing(20), Text("one").help("First"), Text("two").help("Second"), Text("none")));
    const auto at = [&](const char* label) { return centreOf(owner, Role::text, label); };
    const auto one = at("one");
    const auto two = at("two");
    auto& hand = *owner.delegate();
    hand.pointerMoved(one);
    desktop.runLoop.advance(0.5);
    hand.pointerMoved(one + Point{1, 0});
    desktop.runLoop.advance(0.5);
    EXPECT_FALSE(isShown(Kind::toolTip));
    desktop.runLoop.advance(0.2);
    EXPECT_TRUE(treeOf(shown(Kind::toolTip)).semantics().find(Role::text, "First"));
    EXPECT_EQ(shown(Kind::toolTip).frame().minY(), host->onScreen(one).y + 16);
    // Its neighbour's needs no rest.
    hand.pointerMoved(two);
    EXPECT_TRUE(treeOf(shown(Kind::toolTip)).semantics().find(Role::text, "Second"));
    desktop.runLoop.advance(9.9);
    EXPECT_TRUE(isShown(Kind::toolTip));
    desktop.runLoop.advance(0.2);
    EXPECT_FALSE(isShown(Kind::toolTip));

    const std::vector<std::function<void()>> uses{[&] { hand.pointerPressed({.at = one}); },
                                                  [&] {
                                                      hand.keyPressed({Key::character, "a"});
                                                  },
                                                  [&] { hand.scrolled(one, 1, 0); },
                                                  [&] { hand.pointerLeft(); }, [&] { host->orderOut(); }};
    for (const auto& use : uses) {
        hand.pointerLeft();
        desktop.runLoop.advance(1);
        hand.pointerMoved(one);
        desktop.runLoop.advance(0.7);
        EXPECT_TRUE(isShown(Kind::toolTip));
        use();
        desktop.runLoop.advance(2);
        EXPECT_FALSE(isShown(Kind::toolTip));
    }
}

struct Asking {
    State<bool> isAsking = false;
    std::vector<AlertButton> buttons;
    Action other;

    View body() const {
        return VStack(Spacing(0), Button([isAsking = isAsking] { isAsking.set(true); }, Text("Clear")),
                      Button(other, Text("Other")))
            .alert(isAsking, {.title = "Clear?", .message = "It is gone then.", .buttons = buttons});
    }
};

TEST_F(Presenting, AnAlertHoldsItsWindowUntilItIsAnswered) {
    using Role = AlertButton::Role;
    const std::vector<AlertButton> buttons{{"Keep", Role::cancel, saying("keep")},
                                           {"Delete", Role::destructive, saying("delete")}};
    auto& owner = open(Asking{.buttons = buttons, .other = saying("other")});
    const auto ask = [&] {
        log.clear();
        click(owner, view::Role::button, "Clear");
        desktop.runLoop.advance(0.05);
        EXPECT_TRUE(isShown(Kind::alert));
    };
    ask();
    EXPECT_EQ(shown(Kind::alert).frame().centre().x, owner.frame().centre().x);
    EXPECT_NEAR(shown(Kind::alert).frame().centre().y, owner.frame().centre().y, 0.5);
    click(owner, view::Role::button, "Other");
    host->window().makeKeyWindow();
    owner.delegate()->keyPressed({Key::enter});
    EXPECT_EQ(log, Log{});
    EXPECT_TRUE(shown(Kind::alert).isKeyWindow()) << "what is typed goes on to the question";
    press(Key::enter);
    EXPECT_EQ(log, Log{"delete"});
    EXPECT_FALSE(isShown(Kind::alert));
    desktop.runLoop.advance(1);
    EXPECT_FALSE(isShown(Kind::alert));

    ask();
    press(Key::escape);
    EXPECT_EQ(log, Log{"keep"});
    ask();
    shown(Kind::alert).delegate()->closeRequested();
    EXPECT_EQ(log, Log{"keep"});
    ask();
    press(Key::tab);
    EXPECT_TRUE(find(shown(Kind::alert), view::Role::button, "Keep").state.isFocused);
    press(Key::space);
    EXPECT_EQ(log, Log{"keep"});
    ask();
    host->orderOut();
    EXPECT_FALSE(isShown(Kind::alert));
    host->orderFront();
    desktop.runLoop.advance(1);
    EXPECT_FALSE(isShown(Kind::alert));
    EXPECT_EQ(log, Log{});
}

TEST_F(Presenting, ADefaultIsNeverADestructiveButtonAmongOthers) {
    using Role = AlertButton::Role;
    const AlertButton cancel{.title = "c", .role = Role::cancel};
    const AlertButton danger{.title = "d", .role = Role::destructive};
    const AlertButton plain{.title = "p"};
    EXPECT_EQ(defaultButton({.buttons = {danger, plain, cancel}}), 1U);
    EXPECT_EQ(defaultButton({.buttons = {danger, cancel}}), 0U);
    EXPECT_EQ(defaultButton({.buttons = {danger, danger, cancel}}), std::nullopt);
    EXPECT_EQ(defaultButton({.buttons = {cancel}}), 0U);
}

TEST_F(Presenting, AModalQuestionServesTheLoopAndEndsWithIt) {
    const NSAlert question{"Clean?", "All of it.", {"Cancel", "Clear"}};
    ModalAlerts alerts;
    int ticks = 0;
    const auto timer = desktop.runLoop.repeatingTimer(0.01, [&] { ++ticks; });
    const auto answered = [&](const std::function<void()>& hand) {
        const auto later = desktop.runLoop.oneShotTimer(0.5, hand);
        return alerts.runModal(question) - NSAlert::firstButtonReturn;
    };
    EXPECT_EQ(answered([&] { click(shown(Kind::alert), Role::button, "Clear"); }), 1);
    EXPECT_EQ(answered([&] { click(shown(Kind::alert), Role::button, "Cancel"); }), 0);
    EXPECT_EQ(answered([&] { press(Key::escape); }), 0);
    EXPECT_EQ(answered([&] { shown(Kind::alert).delegate()->closeRequested(); }), 0);
    EXPECT_GT(ticks, 100);
    EXPECT_FALSE(isShown(Kind::alert));
    desktop.windows.setMonitors({});
    EXPECT_EQ(alerts.runModal(question), NSAlert::firstButtonReturn);
}

}  // namespace
}  // namespace vellumix::view
