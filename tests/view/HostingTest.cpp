#include "platform/foundation/observation/Published.h"
#include "view/HostedWindow.h"

namespace vellumix::view {
namespace {

class Hosting : public HostedWindowTest {};

TEST_F(Hosting, DrawsOnlyWhatChangesAndAtMostSixtyTimesASecond) {
    Published<bool> isWide(false);
    struct Bar {
        Published<bool>& isWide;
        View body() const {
            return ShapeView(Rectangle(), Color::grey(0))
                .frame(isWide.get() ? 200 : 20, 20)
                .animation(Curve::linear(0.5), isWide.get());
        }
    };
    auto& shownWindow = open(Bar{isWide});
    // The first frame is there with the window.
    EXPECT_EQ(shownWindow.drawings, 1);
    desktop.runLoop.advance(60);
    EXPECT_EQ(shownWindow.drawings, 1);

    isWide.set(true);
    EXPECT_EQ(shownWindow.drawings, 1);
    desktop.runLoop.advance(0.5);
    EXPECT_GE(shownWindow.drawings, 28);
    EXPECT_LE(shownWindow.drawings, 33);
    desktop.runLoop.advance(1);
    const auto rested = shownWindow.drawings;
    desktop.runLoop.advance(60);
    EXPECT_EQ(shownWindow.drawings, rested);

    host->orderOut();
    isWide.set(false);
    desktop.runLoop.advance(1);
    EXPECT_EQ(shownWindow.drawings, rested);
    host->orderFront();
    EXPECT_EQ(shownWindow.drawings, rested + 1);
    EXPECT_FALSE(host->tree().needsFrame()) << "what changed out of sight doesn't move into it";
    // The desktop takes the room for the shadow: the view lies where the frame is, and the pixels follow.
    desktop.windows.hasCompositor = false;
    desktop.windows.scale = 2;
    shownWindow.delegate()->needsDisplay();
    desktop.runLoop.advance(1);
    EXPECT_EQ(shownWindow.pixels.size(), 600U * 400U * 4U);
    EXPECT_EQ(host->tree().semantics().frame.size, (Size{300, 200}));
}

TEST_F(Hosting, AKeyIsForWhatTheOneJustBeforeItHasChanged) {
    Published<int> shownNumber(0);
    struct Counter {
        Published<int>& number;
        View body() const {
            const int drawn = number.get();
            return Text(std::to_string(drawn)).onKey([&number = number, drawn](const KeyEvent&) {
                number.set(drawn + 1);
                return true;
            });
        }
    };
    auto& told = *open(Counter{shownNumber}).delegate();
    for (int presses = 0; presses < 3; ++presses) told.keyPressed({.text = "x"});
    EXPECT_EQ(shownNumber.get(), 3) << "no frame was due in between";
}

TEST_F(Hosting, TheWheelScrolls) {
    auto& told = open(ScrollArea(VStack(Spacing(0), ShapeView(Rectangle()).frame(9, 99), Text("text"),
                                        ShapeView(Rectangle()).frame(9, 900))));
    const double before = find(told, Role::text, "text").frame.minY();
    told.delegate()->scrolled({100, 100}, 30, 0);
    EXPECT_EQ(find(told, Role::text, "text").frame.minY(), before - 30);
}

TEST_F(Hosting, AnAlphaRunIsReplacedWithoutItsCompletion) {
    open(Text("content"));
    int first = 0;
    int second = 0;
    host->animateAlpha(0, Curve::linear(1), [&] { ++first; });
    desktop.runLoop.advance(0.5);
    EXPECT_NEAR(window->alphaValue(), 0.5, 0.05);
    host->animateAlpha(1, Curve::linear(1), [&] { ++second; });
    desktop.runLoop.advance(0.5);
    EXPECT_NEAR(window->alphaValue(), 0.75, 0.05);
    desktop.runLoop.advance(2);
    EXPECT_EQ(window->alphaValue(), 1);
    host->orderOut();
    host->animateAlpha(0, Curve::linear(1), [&] { host.reset(); });
    EXPECT_EQ(window->alphaValue(), 0);
    desktop.runLoop.settle();
    EXPECT_FALSE(host);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(Hosting, ABackgroundMovesTheWindowAndAnEdgeResizesItWithinLimits) {
    int taps = 0;
    auto& told = open(Button([&] { ++taps; }, Text("Press")).frame(300, 200));
    host->setManners({.isMovableByBackground = true, .isResizable = true, .minSize = {280, 180}});
    int resizes = 0;
    int moves = 0;
    const auto resize = host->observeResize([&] { ++resizes; });
    const auto move = host->observeMove([&] { ++moves; });
    auto& hand = *told.delegate();

    const auto button = centreOf(told, Role::button, "Press");
    hand.pointerPressed({.at = button});
    hand.pointerMoved(button + Point{5, 5});
    hand.pointerReleased(button, PointerButton::primary);
    EXPECT_EQ(taps, 1);
    EXPECT_EQ(window->frame().origin, (Point{100, 100}));

    // The point in the window stays the same while the window follows.
    hand.pointerPressed({.at = {124 + 20, 124 + 20}});
    hand.pointerMoved({124 + 30, 124 + 15});
    EXPECT_EQ(window->frame().origin, (Point{110, 95}));
    hand.pointerReleased({124 + 20, 124 + 20}, PointerButton::primary);
    hand.pointerMoved({124 + 60, 124 + 60});
    EXPECT_EQ(window->frame(), (Rect{{110, 95}, {300, 200}}));

    for (const double inside : {-5.0, 1.0, 7.0, 10.0, 12.0}) {
        const double near = 24 + inside;
        const std::pair<Point, Cursor> corners[] = {
            {{near, near}, Cursor::resizeDiagonalDown},
            {{348 - near, 248 - near}, Cursor::resizeDiagonalDown},
            {{348 - near, near}, Cursor::resizeDiagonalUp},
            {{near, 248 - near}, Cursor::resizeDiagonalUp},
        };
        for (const auto& [at, cursor] : corners) {
            hand.pointerMoved(at);
            EXPECT_EQ(told.cursor, cursor) << inside << " points inside of a corner";
        }
    }
    hand.pointerMoved({24 + 8, 24 + 40});
    EXPECT_EQ(told.cursor, Cursor::arrow) << "no corner, and too far from the edge";
    hand.pointerPressed({.at = {33, 33}});
    hand.pointerMoved({133, 23});
    hand.pointerReleased({33 + 80, 33}, PointerButton::primary);
    EXPECT_EQ(window->frame().maxX(), 410);
    EXPECT_EQ(window->frame().size, (Size{280, 210}));
    desktop.runLoop.settle();
    EXPECT_GE(resizes, 1);
    EXPECT_GE(moves, 2);
}

TEST_F(Hosting, MayGoInTheMiddleOfAnythingThatItTells) {
    struct Question {
        Action leave;
        State<bool> isAsking = false;
        View body() const {
            return VStack(Spacing(0), Button(leave, Text("Button")),
                          Menu(Text("Menu"),
                               [leave = leave] {
                                   return std::vector<MenuItem>{{.title = "Leave", .action = leave}};
                               }),
                          Button([isAsking = isAsking] { isAsking.set(true); }, Text("Ask")),
                          Text("hover").onHover([leave = leave](bool isOver) {
                              if (isOver) leave();
                          }))
                .onKey([leave = leave](const KeyEvent& event) {
                    if (event.key == Key::escape) leave();
                    return event.key == Key::escape;
                })
                .alert(isAsking, {.title = "Leave?", .buttons = {{.title = "Leave", .action = leave}}});
        }
    };
    Observation resize;
    Observation close;
    auto& loop = desktop.runLoop;
    const std::vector<std::function<void(headless::Window&)>> ways{
        [&](auto& one) { click(one, Role::button, "Button"); },
        [&](auto& one) {
            click(one, Role::menuButton, "Menu");
            click(shown(NSWindow::Kind::menu), Role::menuItem, "Leave");
        },
        [&](auto& one) {
            click(one, Role::button, "Ask");
            loop.advance(0.1);
            click(shown(NSWindow::Kind::alert), Role::button, "Leave");
        },
        [&](auto& one) { one.delegate()->pointerMoved(centreOf(one, Role::text, "hover")); },
        [&](auto&) { press(Key::escape); },
        [&](auto& one) {
            one.setFrame({{5, 5}, {200, 100}});
        },
        [&](auto& one) { one.delegate()->closeRequested(); },
        [&](auto&) { host->animateAlpha(0, Curve::linear(0.1), [&] { host.reset(); }); },
    };
    for (std::size_t way = 0; way < ways.size(); ++way) {
        auto& one = open(Question{.leave = [&] { host.reset(); }});
        resize = host->observeResize([&] { host.reset(); });
        close = host->observeClose([&] { host.reset(); });
        ways[way](one);
        loop.advance(1);
        EXPECT_FALSE(host) << way;
        EXPECT_FALSE(one.delegate()) << way;
    }
}

}  // namespace
}  // namespace vellumix::view
