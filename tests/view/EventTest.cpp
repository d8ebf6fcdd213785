#include "platform/foundation/observation/Published.h"
#include "platform/foundation/observation/SharedInstances.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

using Log = std::vector<std::string>;

Action saying(Log& log, const char* what) {
    return [&log, what] { log.emplace_back(what); };
}

TEST(Events, ATapGoesToTheInnermostViewThatTakesIt) {
    Log log;
    const auto card =
        HStack(Spacing(0), Text("title").frame(100, 50), Button(saying(log, "button"), Text("Copy")),
               Button(saying(log, "off"), Text("Cut")).disabled(true))
            .onTap(saying(log, "card"));
    TreeUnderTest tree(card.onClickOutside(saying(log, "outside")), {{300, 200}});
    tree.click(Role::button, "Copy");
    tree.click(Role::text, "title");
    // A view that is disabled leaves the click to what is around it.
    tree.click(Role::button, "Cut");
    EXPECT_EQ(log, (Log{"button", "card", "card"}));
    EXPECT_TRUE(tree.find(Role::button, "Cut").state.isDisabled);

    log.clear();
    tree.tree->pointerPressed({{290, 190}});
    tree.tree->pointerReleased(tree.find(Role::button, "Copy").frame.centre());
    EXPECT_EQ(log, Log{"outside"});
    tree.tree->pointerPressed({tree.find(Role::button, "Copy").frame.centre()});
    tree.tree->pointerReleased({290, 190});
    tree.tree->pointerPressed({tree.find(Role::button, "Copy").frame.centre(), PointerButton::secondary});
    tree.tree->pointerReleased(tree.find(Role::button, "Copy").frame.centre(), PointerButton::secondary);
    EXPECT_EQ(log, Log{"outside"});
    tree.find(Role::button, "Copy").actions.at(0).perform();
    EXPECT_EQ(log, (Log{"outside", "button"}));
}

TEST(Events, WhatIsSeenInFrontOfAButtonTakesItsPress) {
    const auto bitmap = std::make_shared<const Bitmap>(Bitmap{8, 8, {}});
    const std::pair<View, bool> fronts[] = {
        {Text("front"), true},
        {Symbol("pin"), true},
        {Image(bitmap), true},
        {ShapeView(Circle()), true},
        {Text("front").onHover([](bool) {}), true},
        {ShapeView(Circle(), Color::clear()), false},
        {Spacer(), false},
    };
    for (const auto& [front, isTaken] : fronts) {
        Log log;
        TreeUnderTest tree(ZStack(Button(saying(log, "button"), ShapeView(Rectangle())), front));
        tree.tree->pointerPressed({{100, 100}});
        tree.tree->pointerReleased({100, 100});
        EXPECT_EQ(log.empty(), isTaken) << &front - &fronts[0].first;
    }
}

/// A button that is there, is there and disabled, and has gone.
struct Passing {
    Log* log;
    const Published<int>* stage;

    View body() const {
        const int now = stage->get();
        return now == 2 ? View(Text("none")) : Button(saying(*log, "pressed"), Text("Go")).disabled(now == 1);
    }
};

TEST(Events, AnActionThatWasKeptDoesNothingOnceItsViewIsDisabledOrGone) {
    const SharedInstances::Scope instances;
    Log log;
    Published<int> stage{0};
    TreeUnderTest tree(Passing{&log, &stage});
    const auto kept = tree.find(Role::button, "Go").actions.at(0);
    for (const int next : {1, 2}) {
        stage.set(next);
        tree.frame();
        kept.perform();
        EXPECT_EQ(log, Log()) << next;
    }
    stage.set(0);
    tree.find(Role::button, "Go").actions.at(0).perform();
    EXPECT_EQ(log, Log{"pressed"});
}

TEST(Events, HoverEntersOutsideInAndCursorsStack) {
    Log log;
    const auto heard = [&](std::string name) {
        return [&log, name](bool isOver) { log.push_back((isOver ? "+" : "-") + name); };
    };
    const auto view = Text("inner")
                          .onHover(heard("inner"), Cursor::text)
                          .padding(20)
                          .onHover(heard("outer"), Cursor::pointingHand);
    TreeUnderTest tree(view.help("About it"));
    EXPECT_EQ(tree.tree->cursor(), Cursor::arrow);
    tree.tree->pointerMoved({1, 1});
    EXPECT_EQ(tree.tree->cursor(), Cursor::pointingHand);
    tree.hover(Role::text, "inner");
    EXPECT_EQ(tree.tree->cursor(), Cursor::text);
    ASSERT_TRUE(tree.tree->help());
    EXPECT_EQ(tree.tree->help()->text, "About it");
    tree.tree->pointerLeft();
    EXPECT_EQ(tree.tree->cursor(), Cursor::arrow);
    EXPECT_EQ(log, (Log{"+outer", "+inner", "-inner", "-outer"}));

    // What goes from under a resting pointer is told, and its cursor goes with it.
    log.clear();
    tree.hover(Role::text, "inner");
    tree.tree->setRoot(Text("else"));
    tree.frame();
    EXPECT_EQ(log, (Log{"+outer", "+inner", "-inner", "-outer"}));
    EXPECT_EQ(tree.tree->cursor(), Cursor::arrow);
}

TEST(Events, TheFocusWalksByTabAndShowsARing) {
    Log log;
    const auto view = VStack(Spacing(0), Button(saying(log, "one"), Text("One")),
                             Button(saying(log, "off"), Text("Off")).disabled(true),
                             Text("field").focusable(), Button(saying(log, "two"), Text("Two")));
    TreeUnderTest tree(view);
    EXPECT_TRUE(tree.drawn<draw::Stroke>().empty());
    tree.tree->keyPressed({Key::tab});
    EXPECT_TRUE(tree.tree->needsFrame());
    EXPECT_TRUE(tree.find(Role::button, "One").state.isFocused);
    EXPECT_EQ(tree.drawn<draw::Stroke>().size(), 1U);
    tree.press(Key::space);
    tree.press(Key::tab);
    EXPECT_TRUE(tree.find(Role::text, "field").state.isFocused);
    EXPECT_FALSE(tree.press(Key::space));
    tree.press(Key::tab);
    tree.press(Key::enter);
    tree.press(Key::tab);
    EXPECT_TRUE(tree.find(Role::button, "One").state.isFocused);
    tree.press(Key::tab, {.hasShift = true});
    EXPECT_TRUE(tree.find(Role::button, "Two").state.isFocused);
    EXPECT_EQ(log, (Log{"one", "two"}));
    tree.click(Role::text, "field");
    EXPECT_TRUE(tree.find(Role::text, "field").state.isFocused);
    EXPECT_TRUE(tree.drawn<draw::Stroke>().empty());
}

struct Field {
    State<bool> isFocused = false;
    View body() const {
        const auto focus = isFocused.binding();
        return VStack(Spacing(0), Text(isFocused ? "on" : "off").focusable(focus),
                      Button([focus] { focus.set(true); }, Text("Focus")));
    }
};

TEST(Events, AFocusBindingFollowsAndLeads) {
    TreeUnderTest tree(Field{});
    EXPECT_TRUE(tree.tree->takesPress(tree.find(Role::text, "off").frame.centre())) << "no handle to drag";
    tree.click(Role::text, "off");
    EXPECT_TRUE(tree.has(Role::text, "on"));
    tree.tree->clearFocus();
    EXPECT_TRUE(tree.has(Role::text, "off"));
    tree.click(Role::button, "Focus");
    EXPECT_TRUE(tree.find(Role::text, "on").state.isFocused);
}

TEST(Events, KeysBubbleFromTheFocusAndEndAtTheWindowsButtons) {
    Log log;
    const auto handler = [&](const char* name, Key taken) {
        return [&log, name, taken](const KeyEvent& event) {
            log.emplace_back(name + event.text);
            return event.key == taken;
        };
    };
    const auto view = VStack(Spacing(0), Text("field").focusable().onKey(handler("inner ", Key::left)),
                             Button(saying(log, "ok"), Text("OK")).windowAction(WindowAction::accept),
                             Button(saying(log, "cancel"), Text("Cancel")).windowAction(WindowAction::cancel))
                          .onKey(handler("outer ", Key::up));
    TreeUnderTest tree(view);
    EXPECT_TRUE(tree.press(Key::up, {}, "u"));
    tree.click(Role::text, "field");
    EXPECT_TRUE(tree.press(Key::left));
    EXPECT_TRUE(tree.press(Key::up));
    EXPECT_FALSE(tree.press(Key::character, {}, "é"));
    EXPECT_EQ(log, (Log{"inner u", "outer u", "inner ", "inner ", "outer ", "inner é", "outer é"}));
    log.clear();
    EXPECT_TRUE(tree.press(Key::enter));
    EXPECT_TRUE(tree.press(Key::escape));
    EXPECT_EQ(log, (Log{"inner ", "outer ", "ok", "inner ", "outer ", "cancel"}));
}

TEST(Events, AHandlerMayDestroyItsTree) {
    struct Case {
        const char* what;
        std::function<View(Action)> view;
        std::function<void(ViewTree&)> event;
    };
    const Case cases[] = {
        {"press", [](Action end) { return View(Button(end, Text("a"))); },
         [](ViewTree& tree) {
             tree.pointerPressed({{2, 2}});
             tree.pointerReleased({2, 2});
         }},
        {"hover", [](Action end) { return Text("a").onHover([end](bool) { end(); }); },
         [](ViewTree& tree) {
             tree.pointerMoved({2, 2});
         }},
        {"key", [](Action end) { return Text("a").onKey([end](const KeyEvent&) { return end(), true; }); },
         [](ViewTree& tree) { tree.keyPressed({}); }},
        {"outside", [](Action end) { return Text("a").onClickOutside(end); },
         [](ViewTree& tree) {
             tree.pointerPressed({{150, 150}});
         }},
        {"binding",
         [](Action end) {
             return Text("a").focusable(Binding<bool>([] { return false; }, [end](bool) { end(); }));
         },
         [](ViewTree& tree) { tree.focusNext(); }},
    };
    for (const auto& one : cases) {
        std::unique_ptr<TreeUnderTest> tree;
        bool hasEnded = false;
        tree = std::make_unique<TreeUnderTest>(one.view([&] {
            hasEnded = true;
            tree->tree.reset();
        }));
        auto* running = tree->tree.get();
        one.event(*running);
        EXPECT_TRUE(hasEnded) << one.what;
    }
}

TEST(Events, AButtonLooksPressedWhileThePointerHoldsItDownInside) {
    TreeUnderTest tree(HStack(Spacing(20), Button([] {}, Text("One")), Text("other")));
    const auto layers = [&] { return tree.drawn<draw::PushLayer>().size(); };
    const auto inside = tree.find(Role::button, "One").frame.centre();
    const auto outside = tree.find(Role::text, "other").frame.centre();
    tree.tree->pointerPressed({inside});
    EXPECT_EQ(layers(), 1U);
    tree.tree->pointerMoved(outside);
    EXPECT_EQ(layers(), 0U);
    tree.tree->pointerMoved(inside);
    EXPECT_EQ(layers(), 1U);
    tree.tree->pointerReleased(inside);
    EXPECT_EQ(layers(), 0U);
}

TEST(Events, ArrowKeysMoveTheFocusInItsRowAlone) {
    const auto row = [](const char* first, const char* second) {
        return HStack(Spacing(0), Button([] {}, Text(first)), Button([] {}, Text(second)));
    };
    TreeUnderTest tree(
        VStack(Spacing(0), row("a", "b"), row("c", "d").direction(LayoutDirection::rightToLeft)));
    EXPECT_FALSE(tree.press(Key::right));
    tree.press(Key::tab);
    EXPECT_TRUE(tree.press(Key::right));
    EXPECT_TRUE(tree.find(Role::button, "b").state.isFocused);
    EXPECT_FALSE(tree.press(Key::right));
    tree.press(Key::tab);
    tree.press(Key::left);
    EXPECT_TRUE(tree.find(Role::button, "d").state.isFocused);
}

}  // namespace
}  // namespace vellumix::view
