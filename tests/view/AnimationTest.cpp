#include <cmath>

#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

TEST(Curve, BeginsAtNothingEndsAtAllAndTakesItsShape) {
    struct Case {
        const char* what;
        Curve curve;
        double atHalf;
    };
    // Half-way values of the published control points.
    const Case cases[] = {
        {"linear", Curve::linear(2), 0.5},
        {"ease in", Curve::easeIn(2), 0.3153},
        {"ease out", Curve::easeOut(2), 0.6846},
        {"ease in and out", Curve::easeInOut(2), 0.5},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(one.curve.at(-1), 0) << one.what;
        EXPECT_NEAR(one.curve.at(1), one.atHalf, 1e-3) << one.what;
        EXPECT_EQ(one.curve.at(2), 1) << one.what;
        EXPECT_NEAR(one.curve.at(2 - 1e-9), 1, 1e-6) << one.what;
    }
}

TEST(Curve, ASpringSwingsByItsDampingAndComesToRest) {
    for (const double damping : {0.2, 0.6, 0.99, 1.0}) {
        const auto spring = Curve::spring(0.3, damping);
        double most = 0;
        for (int step = 0; step <= 1000; ++step) {
            most = std::max(most, spring.at(spring.duration() * step / 1000));
        }
        // exp(-pi * d / sqrt(1 - d * d)) is the first overshoot of a damped oscillator.
        const double expected =
            damping < 1 ? 1 + std::exp(-3.14159265 * damping / std::sqrt(1 - damping * damping)) : 1;
        EXPECT_NEAR(most, std::max(1.0, expected), 5e-3) << damping;
        EXPECT_NEAR(spring.at(spring.duration() * 0.9999), 1, 2e-3) << damping;
    }
}

/// A box that a click moves, tints and lets go of its companion.
struct Mover {
    State<bool> isMoved = false;
    State<bool> isShown = true;

    View body() const {
        const auto moved = isMoved.binding();
        const auto shown = isShown.binding();
        const auto color = isMoved ? Color::grey(1) : Color::grey(0);
        return VStack(
            Spacing(0), Alignment::leading(),
            {ShapeView(Rectangle(), color).frame(isMoved ? 100 : 20, 10),
             Button([moved] { withAnimation(Curve::linear(1), [&] { moved.set(!moved.get()); }); },
                    Text("Move")),
             Button([moved] { moved.set(!moved.get()); }, Text("Jump")),
             Button([shown] { withAnimation(Curve::linear(1), [&] { shown.set(!shown.get()); }); },
                    Text("Show")),
             If(isShown, View(Text("Companion"))
                             .transition(Transition::opacity().with(Transition::move(Edge::bottom))))});
    }
};

TEST(Animation, AnExplicitOneRunsFromWhereItIsAndRests) {
    TreeUnderTest tree(Mover{});
    const auto box = [&] { return tree.drawn<draw::Fill>().at(0); };
    EXPECT_EQ(box().rect.size.width, 20);
    tree.click(Role::button, "Move");
    EXPECT_EQ(box().rect.size.width, 20);
    tree.frame(0.5);
    EXPECT_EQ(box().rect.size.width, 60);
    EXPECT_NEAR(box().color.red, 0.5, 1e-9);
    // Turned back on its way, it doesn't jump.
    tree.click(Role::button, "Move");
    EXPECT_EQ(box().rect.size.width, 60);
    tree.frame(0.5);
    EXPECT_EQ(box().rect.size.width, 40);
    EXPECT_TRUE(tree.tree->needsFrame());
    tree.frame(0.5);
    EXPECT_EQ(box().rect.size.width, 20);
    EXPECT_FALSE(tree.tree->needsFrame());
    tree.click(Role::button, "Jump");
    EXPECT_EQ(box().rect.size.width, 100);
    EXPECT_FALSE(tree.tree->needsFrame());
}

TEST(Animation, ATransitionDrawsWhatHasLeftUntilItsEnd) {
    TreeUnderTest tree(Mover{});
    EXPECT_TRUE(tree.drawn<draw::PushLayer>().empty());
    const auto texts = [&] { return tree.drawn<draw::Text>().size(); };
    EXPECT_EQ(texts(), 4U);
    const double top = tree.find(Role::text, "Companion").frame.minY();
    tree.click(Role::button, "Show");
    EXPECT_FALSE(tree.has(Role::text, "Companion"));
    tree.frame(0.5);
    EXPECT_EQ(texts(), 4U);
    EXPECT_NEAR(tree.drawn<draw::PushLayer>().at(0).opacity, 0.5, 1e-9);
    EXPECT_GT(tree.drawn<draw::Text>().back().origin.y, top + 3);
    tree.frame(0.6);
    EXPECT_EQ(texts(), 3U);
    EXPECT_FALSE(tree.tree->needsFrame());

    tree.click(Role::button, "Show");
    EXPECT_TRUE(tree.has(Role::text, "Companion"));
    tree.frame(0.25);
    EXPECT_NEAR(tree.drawn<draw::PushLayer>().at(0).opacity, 0.25, 1e-9);
    tree.frame(1);
    EXPECT_TRUE(tree.drawn<draw::PushLayer>().empty());
    EXPECT_EQ(tree.drawn<draw::Text>().back().origin.y, top);
}

struct Leaving {
    Edge edge = Edge::top;
    State<bool> isShown = true;

    View body() const {
        const auto toggle = [shown = isShown.binding()] {
            withAnimation(Curve::linear(1), [&] { shown.set(!shown.get()); });
        };
        return ZStack(Button(toggle, Text("Go").frame(100, 100)),
                      If(isShown, ShapeView(Rectangle()).frame(40, 20).transition(Transition::move(edge))));
    }
};

TEST(Animation, AViewLeavesAndComesBackByItsEdge) {
    constexpr auto mirrored = LayoutDirection::rightToLeft;
    const struct {
        Edge edge;
        LayoutDirection direction;
        Point way;
    } cases[] = {
        {Edge::top, {}, {0, -10}},          {Edge::bottom, {}, {0, 10}},
        {Edge::leading, {}, {-20, 0}},      {Edge::trailing, {}, {20, 0}},
        {Edge::leading, mirrored, {20, 0}}, {Edge::trailing, mirrored, {-20, 0}},
        {Edge::bottom, mirrored, {0, 10}},
    };
    for (const auto& one : cases) {
        TreeUnderTest tree(Leaving{one.edge}, {{200, 200}, 1, one.direction});
        const auto place = [&] { return tree.drawn<draw::Fill>().at(0).rect.origin; };
        const auto rest = place();
        tree.tree->focusNext();
        for (int way = 0; way < 2; ++way) {
            tree.press(Key::space);
            tree.frame(0.5);
            EXPECT_EQ(place(), rest + one.way) << static_cast<int>(one.edge) << ' ' << way;
            tree.frame(1);
        }
        EXPECT_EQ(place(), rest);
    }
}

/// The two symbols of a button that says that it has worked.
struct Success {
    State<bool> isDone = false;
    View body() const {
        const auto done = isDone.binding();
        return Button([done] { done.set(true); },
                      ZStack(Symbol("doc.on.doc").opacity(isDone ? 0 : 1).scale(isDone ? 0.5 : 1),
                             Symbol("checkmark").opacity(isDone ? 1 : 0).scale(isDone ? 1 : 0.5)))
            .animation(Curve::spring(0.3, 0.6), isDone)
            .semantics(Role::button, "Copy");
    }
};

TEST(Animation, AnImplicitSpringOvershootsAndSettles) {
    TreeUnderTest tree(Success{});
    tree.click(Role::button, "Copy");
    double most = 0;
    for (int step = 0; step < 60 && tree.tree->needsFrame(); ++step) {
        tree.frame(1.0 / 60);
        for (const auto& layer : tree.drawn<draw::PushLayer>()) {
            EXPECT_GE(layer.opacity, 0);
            EXPECT_LE(layer.opacity, 1);
            most = std::max(most, layer.scale);
        }
    }
    EXPECT_FALSE(tree.tree->needsFrame());
    EXPECT_GT(most, 1.02);
    const auto layers = tree.drawn<draw::PushLayer>();
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_EQ(layers[0].scale, 0.5);
    EXPECT_EQ(layers[1].opacity, 0);
}

TEST(Animation, AProgressIndicatorTurnsWhileItIsSeen) {
    TreeUnderTest tree(ScrollArea(
        VStack(Spacing(0), ProgressIndicator(), ShapeView(Rectangle(), Color::clear()).frame(20, 900))));
    const auto strengths = [&] {
        std::vector<double> alphas;
        for (const auto& spoke : tree.drawn<draw::Fill>()) alphas.push_back(spoke.color.alpha);
        return alphas;
    };
    EXPECT_TRUE(tree.has(Role::progressIndicator, ""));
    const auto before = strengths();
    tree.frame(0.2);
    EXPECT_NE(strengths(), before);
    EXPECT_TRUE(tree.tree->needsFrame());
    tree.tree->scrolled({100, 100}, 100);
    tree.frame();
    EXPECT_FALSE(tree.tree->needsFrame());
}

}  // namespace
}  // namespace vellumix::view
