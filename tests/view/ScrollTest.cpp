#include <numeric>
#include <set>

#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

/// A row that can be opened, and that says that it was built.
struct Row {
    int number = 0;
    std::set<int>* built = nullptr;
    State<bool> isOpen = false;

    View body() const {
        if (built) built->insert(number);
        const auto open = isOpen.binding();
        return Button([open] { open.set(!open.get()); },
                      Text((isOpen ? "open " : "row ") + std::to_string(number)))
            .frame({.height = isOpen ? 60 : 20 + 10 * (number % 3), .maximumWidth = unbounded});
    }
};

View column(int count, std::set<int>* built, std::optional<ScrollTarget> target = {}) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return ScrollArea(LazyVStack(
                          Spacing(4), std::move(numbers), [](int at) { return std::to_string(at); },
                          [built](int at) { return Row{.number = at, .built = built}; }),
                      std::move(target));
}

TEST(LazyVStack, BuildsTheRowsInSightAlone) {
    std::set<int> built;
    TreeUnderTest tree(column(10000, &built));
    EXPECT_LE(built.size(), 10U);
    EXPECT_EQ(*built.begin(), 0);
    built.clear();
    for (int step = 0; step < 50; ++step) {
        tree.tree->scrolled({100, 100}, 40);
        tree.frame();
    }
    EXPECT_LE(built.size(), 80U);
    EXPECT_FALSE(tree.tree->semantics().find(Role::button, "row 0"));

    built.clear();
    tree.tree->setRoot(column(10000, &built, ScrollTarget{"9000", 0}));
    tree.frame();
    EXPECT_LE(built.size(), 60U);
    EXPECT_NEAR(tree.find(Role::button, "row 9000").frame.minY(), 8, 12);
    tree.tree->scrolled({100, 100}, 1e9);
    EXPECT_TRUE(tree.has(Role::button, "row 9999"));
    EXPECT_NEAR(tree.find(Role::button, "row 9999").frame.maxY(), 200, 8);
}

TEST(LazyVStack, ARowOutOfSightKeepsItsState) {
    TreeUnderTest tree(column(1000, nullptr));
    tree.click(Role::button, "row 1");
    ASSERT_TRUE(tree.has(Role::button, "open 1"));
    tree.tree->scrolled({100, 100}, 2000);
    EXPECT_FALSE(tree.has(Role::button, "open 1"));
    tree.tree->scrolled({100, 100}, -1e9);
    EXPECT_TRUE(tree.has(Role::button, "open 1"));
    tree.tree->scrolled({100, 100}, 2000);
    tree.frame();
    tree.tree->setRoot(column(1, nullptr));
    tree.frame();
    tree.tree->setRoot(column(1000, nullptr));
    tree.tree->scrolled({100, 100}, -1e9);
    EXPECT_TRUE(tree.has(Role::button, "row 1"));
}

TEST(LazyVStack, WhatIsSeenStaysWhereItIsWhenRowsAboveTurnOutHigher) {
    TreeUnderTest tree(column(1000, nullptr, ScrollTarget{"500", 0}));
    for (int step = 0; step < 30; ++step) {
        const auto list = tree.find(Role::list, "");
        ASSERT_GT(list.children.size(), 2U);
        const auto& seen = list.children.at(2);
        const auto label = seen.label.string();
        const double before = seen.frame.minY();
        tree.tree->scrolled({100, 100}, -7);
        EXPECT_NEAR(tree.find(Role::button, label).frame.minY(), before + 7, 1.01) << label;
    }
}

TEST(ScrollArea, ScrollsToARowOnceAndSmoothlyInAnAnimation) {
    TreeUnderTest tree(column(100, nullptr, ScrollTarget{"50", 0.5}));
    EXPECT_NEAR(tree.find(Role::button, "row 50").frame.centre().y, 100, 12);
    tree.tree->scrolled({100, 100}, 30);
    tree.tree->setRoot(column(100, nullptr, ScrollTarget{"50", 0.5}));
    EXPECT_NEAR(tree.find(Role::button, "row 50").frame.centre().y, 70, 14);
    tree.tree->setRoot(column(100, nullptr, ScrollTarget{"50", 0.5, 1}));
    EXPECT_NEAR(tree.find(Role::button, "row 50").frame.centre().y, 100, 12);
    // Already in sight, it stays.
    const double at = tree.find(Role::button, "row 51").frame.minY();
    tree.tree->setRoot(column(100, nullptr, ScrollTarget{"51", std::nullopt}));
    EXPECT_EQ(tree.find(Role::button, "row 51").frame.minY(), at);
}

/// Scrolls by a button, in an animation.
struct Jumper {
    State<int> row = 0;
    View body() const {
        const auto to = row.binding();
        return VStack(Spacing(0),
                      Button([to] { withAnimation(Curve::linear(1), [&] { to.set(80); }); }, Text("Jump")),
                      column(100, nullptr, ScrollTarget{std::to_string(row.get()), 0}));
    }
};

TEST(ScrollArea, AnAnimatedScrollMovesAndShowsRowsAllTheWay) {
    TreeUnderTest tree(Jumper{});
    tree.click(Role::button, "Jump");
    double before = 1e9;
    for (int step = 0; step < 10; ++step) {
        EXPECT_GT(tree.drawn<draw::Text>().size(), 5U) << step;
        const auto window = tree.tree->semantics();
        if (const auto* row = window.find(Role::button, "row 80")) {
            EXPECT_LE(row->frame.minY(), before);
            before = row->frame.minY();
        }
        tree.frame(0.11);
    }
    EXPECT_FALSE(tree.tree->needsFrame());
    EXPECT_NEAR(tree.find(Role::button, "row 80").frame.minY(), 16, 14);
}

TEST(ScrollArea, TheIndicatorFollowsAndClicksStayInside) {
    TreeUnderTest tree(VStack(Spacing(0), column(100, nullptr).frame({.height = 100}), Spacer()));
    const auto indicator = [&] { return tree.drawn<draw::Fill>().back().rect; };
    EXPECT_EQ(indicator().maxX(), 198);
    const double top = indicator().minY();
    tree.tree->scrolled({100, 150}, 50);
    EXPECT_EQ(indicator().minY(), top);
    tree.tree->scrolled({100, 50}, 1e9);
    EXPECT_EQ(indicator().maxY(), 98);
    TreeUnderTest fitting(column(2, nullptr));
    EXPECT_TRUE(fitting.drawn<draw::Fill>().empty());
}

TEST(ScrollArea, TheFocusComesIntoSight) {
    std::vector<View> buttons;
    for (int at = 0; at < 30; ++at) buttons.emplace_back(Button([] {}, Text(std::to_string(at))));
    TreeUnderTest tree(ScrollArea(VStack(Spacing(4), Alignment::centre(), buttons)));
    const auto seen = [&](const char* label) {
        const auto button = tree.find(Role::button, label);
        return button.state.isFocused && button.frame.size.height > 16;
    };
    for (int at = 0; at < 21; ++at) tree.press(Key::tab);
    EXPECT_TRUE(seen("20"));
    for (int at = 0; at < 19; ++at) tree.press(Key::tab, {.hasShift = true});
    EXPECT_TRUE(seen("1"));
    // Round the end to the last one.
    tree.press(Key::tab, {.hasShift = true});
    tree.press(Key::tab, {.hasShift = true});
    EXPECT_TRUE(seen("29"));
}

}  // namespace
}  // namespace vellumix::view
