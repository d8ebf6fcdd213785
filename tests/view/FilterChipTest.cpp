#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

constexpr auto lit = Color::grey(0.93);
constexpr auto dim = Color::grey(0.6);
constexpr auto restFill = Color::grey(0.2);
constexpr auto hoverFill = Color::grey(0.22);

/// One filter of a toolbar: a symbol over its caption.
struct FilterChip {
    std::string icon;
    std::string label;
    bool isSelected = false;
    Action action;
    State<bool> isHovering = false;

    View body() const {
        const bool isLit = isSelected || isHovering;
        return Button(action, VStack(Spacing(2), Symbol(icon).font(Font::system(14, Font::Weight::medium)),
                                     Text(label).font(Font::system(10)))
                                  .foreground(isLit ? lit : dim)
                                  .fillWidth()
                                  .padding(Edge::vertical, 8))
            .background(RoundedRectangle(6), isHovering ? hoverFill : restFill,
                        Outline{.color = Color::grey(0.2), .width = isSelected ? 1.5 : 1})
            .onHover(isHovering, Cursor::pointingHand)
            .animation(Curve::easeOut(0.12), isHovering, isSelected)
            .semantics(Role::radioButton, label, isSelected);
    }
};

/// A row of them that remembers the chosen one.
struct Filters {
    State<int> chosen = 0;

    View body() const {
        const auto binding = chosen.binding();
        const auto chip = [&](int at, const char* label) {
            return FilterChip{
                .icon = "doc", .label = label, .isSelected = chosen == at, .action = [binding, at] {
                    binding.set(at);
                }};
        };
        return HStack(Spacing(8), chip(0, "All"), chip(1, "Text"), chip(2, "Links"));
    }
};

TEST(FilterChip, IsChosenHoveredAndDrawnThroughTheTree) {
    TreeUnderTest chips(Filters{}, {{316, 60}});
    EXPECT_EQ(chips.tree->semanticsDump(),
              "group\n"
              "  radio button \"All\" selected\n"
              "  radio button \"Text\"\n"
              "  radio button \"Links\"\n");
    EXPECT_EQ(chips.find(Role::radioButton, "Links").frame.size.width, 100);

    chips.hover(Role::radioButton, "Text");
    EXPECT_EQ(chips.tree->cursor(), Cursor::pointingHand);
    const auto fillOfSecond = [&] { return chips.drawn<draw::Fill>().at(1).color; };
    EXPECT_EQ(fillOfSecond(), restFill);
    chips.frame(0.06);
    const auto half = fillOfSecond();
    EXPECT_GT(half.red, restFill.red + 0.01);
    EXPECT_LT(half.red, hoverFill.red);
    EXPECT_TRUE(chips.tree->needsFrame());
    chips.frame(0.07);
    EXPECT_EQ(fillOfSecond(), hoverFill);
    EXPECT_EQ(chips.drawn<draw::Text>().at(1).color, lit);
    EXPECT_FALSE(chips.tree->needsFrame());

    chips.click(Role::radioButton, "Links");
    EXPECT_TRUE(chips.find(Role::radioButton, "Links").state.isSelected);
    EXPECT_FALSE(chips.find(Role::radioButton, "All").state.isSelected);
    EXPECT_EQ(fillOfSecond(), hoverFill);
    chips.frame(0.2);
    EXPECT_EQ(fillOfSecond(), restFill);
    chips.tree->pointerLeft();
    EXPECT_EQ(chips.tree->cursor(), Cursor::arrow);
}

}  // namespace
}  // namespace vellumix::view
