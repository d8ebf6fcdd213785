#include <cmath>

#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

View box(double width, double height) { return ShapeView(Rectangle()).frame(width, height); }

/// What a row of a list looks like: a fixed box, a text that takes what is left, and buttons.
View card(const char* text) {
    return HStack(Spacing(12), box(44, 44),
                  VStack(Spacing(2), Alignment::leading(), {Text(text).lineLimit(2), Text("now")})
                      .fillWidth(Alignment::leading()),
                  HStack(Spacing(4), box(26, 26), box(26, 26)))
        .padding(Edge::horizontal, 12)
        .padding(Edge::vertical, 8)
        .frame({.minimumHeight = 56});
}

TEST(Layout, ACardIsLaidOutInLinesAndMirroredFromRightToLeft) {
    TreeUnderTest wide(card("A text of some words"), {{300, 100}});
    EXPECT_EQ(wide.tree->layoutDump(),
              "Window 0,0 300x100\n"
              "  Frame 0,0 300x60\n"
              "    Padding 0,0 300x60\n"
              "      Padding 0,8 300x44\n"
              "        HStack 12,8 276x44\n"
              "          Frame 12,8 44x44\n"
              "            Shape 12,8 44x44\n"
              "          Frame 68,12 152x36\n"
              "            VStack 68,12 130x36\n"
              "              Environment 68,12 130x17\n"
              "                Text 68,12 130x17\n"
              "              Text 68,31 20x17\n"
              "          HStack 232,17 56x26\n"
              "            Frame 232,17 26x26\n"
              "              Shape 232,17 26x26\n"
              "            Frame 262,17 26x26\n"
              "              Shape 262,17 26x26\n");
    TreeUnderTest mirrored(card("A text of some words"), {{300, 100}, 1, LayoutDirection::rightToLeft});
    EXPECT_EQ(mirrored.find(Role::text, "now").frame.maxX(), 300 - wide.find(Role::text, "now").frame.minX());
}

TEST(Layout, NothingOverlapsOrLeavesItsWindowOverASweepOfWidthsScalesAndDirections) {
    for (const double scale : {1.0, 1.25, 2.0}) {
        for (const auto direction : {LayoutDirection::leftToRight, LayoutDirection::rightToLeft}) {
            TreeUnderTest tree(card("A text of some words that needs more than a line"));
            for (double width = 170; width <= 600; width += 7) {
                tree.tree->setSurface({{width, 120}, scale, direction});
                std::vector<Rect> boxes;
                for (const auto& fill : tree.drawn<draw::Fill>()) boxes.push_back(fill.rect);
                for (const auto& text : tree.drawn<draw::Text>()) {
                    boxes.push_back({text.origin, text.layout->size()});
                }
                ASSERT_EQ(boxes.size(), 5U);
                for (std::size_t at = 0; at < boxes.size(); ++at) {
                    EXPECT_GE(boxes[at].minX(), 0) << width;
                    EXPECT_LE(boxes[at].maxX(), width + 1 / scale) << width;
                    const double pixels = boxes[at].minX() * scale;
                    EXPECT_NEAR(pixels, std::round(pixels), 1e-6) << width << " at " << scale;
                    for (std::size_t other = at + 1; other < boxes.size(); ++other) {
                        const auto common = boxes[at].intersection(boxes[other]).size;
                        EXPECT_LT(std::min(common.width, common.height), 1 / scale + 1e-6)
                            << at << " over " << other << " at " << width;
                    }
                }
            }
        }
    }
}

TEST(Layout, RowsShareTheirRoom) {
    struct Case {
        const char* what;
        View row;
        /// The left edge and width of each shape, in a window 100 wide.
        std::vector<std::pair<double, double>> expected;
    };
    const Case cases[] = {
        {"equal parts",
         HStack(Spacing(10), ShapeView(Rectangle()), ShapeView(Rectangle())),
         {{0, 45}, {55, 45}}},
        {"a spacer takes the rest",
         HStack(Spacing(0), box(10, 10), Spacer(), box(20, 10)),
         {{0, 10}, {80, 20}}},
        {"the fixed first", HStack(Spacing(5), ShapeView(Rectangle()), box(30, 10)), {{0, 65}, {70, 30}}},
        {"a maximum leaves the rest to others",
         HStack(Spacing(0), ShapeView(Rectangle()).frame({.maximumWidth = 20}), ShapeView(Rectangle())),
         {{0, 20}, {20, 80}}},
        {"a minimum is kept",
         HStack(Spacing(0), ShapeView(Rectangle()).frame({.minimumWidth = 70}), ShapeView(Rectangle())),
         {{0, 70}, {70, 30}}},
        {"priority",
         HStack(Spacing(0), ShapeView(Rectangle()), ShapeView(Rectangle()).layoutPriority(1)),
         {{0, 0}, {0, 100}}},
        {"an absent view takes no spacing",
         HStack(Spacing(10), If(false, box(10, 10)), ShapeView(Rectangle())),
         {{0, 100}}},
        {"rows of a list stand in the stack",
         HStack(Spacing(10), ForEach(
                                 std::vector<int>{1, 2, 3}, [](int at) { return std::to_string(at); },
                                 [](int) { return box(10, 10); })),
         {{0, 10}, {20, 10}, {40, 10}}},
        {"a frame aligns", box(20, 10).fillWidth(Alignment::trailing()), {{80, 20}}},
        {"padding", ShapeView(Rectangle()).padding(Edge::leading, 15), {{15, 85}}},
    };
    for (const auto& one : cases) {
        TreeUnderTest tree(one.row, {{100, 40}});
        std::vector<std::pair<double, double>> found;
        for (const auto& fill : tree.drawn<draw::Fill>()) {
            found.emplace_back(fill.rect.minX(), fill.rect.size.width);
        }
        EXPECT_EQ(found, one.expected) << one.what;
    }
}

TEST(Layout, ATextIsSetAnewWhereItsOptionsAreOthersAndOnlyThere) {
    using Way = TextOptions::Alignment;
    const auto text = [](const char* words, double size, int lines, Way way, double width) {
        return Text(words)
            .font(Font::system(size))
            .lineLimit(lines)
            .textAlignment(way)
            .frame({.width = width});
    };
    TreeUnderTest tree(text("a b", 13, 2, Way::leading, 50));
    for (const auto& other : {text("a c", 13, 2, Way::leading, 50), text("a c", 14, 2, Way::leading, 50),
                              text("a c", 14, 1, Way::leading, 50), text("a c", 14, 1, Way::trailing, 50),
                              text("a c", 14, 1, Way::trailing, 60)}) {
        const auto before = tree.drawn<draw::Text>().at(0).layout;
        tree.tree->setRoot(other);
        const auto now = tree.drawn<draw::Text>().at(0).layout;
        EXPECT_NE(now, before) << now->size().width;
        tree.tree->setRoot(other);
        EXPECT_EQ(tree.drawn<draw::Text>().at(0).layout, now);
    }
}

TEST(Layout, DecorationsClipsAndLayersDrawInOrder) {
    const auto red = Color{1, 0, 0};
    const auto view = Text("Hi")
                          .padding(5)
                          .background(RoundedRectangle(4), red, Outline{Color::grey(0.5), 1.5})
                          .overlay(ShapeView(Circle(), Color::grey(1)).frame(4, 4), Alignment::topTrailing())
                          .clip(Capsule())
                          .shadow({.color = Color::grey(0, 0.3), .radius = 4, .offset = {0, 2}})
                          .opacity(0.5);
    TreeUnderTest tree(view, {{100, 100}});
    const auto& list = tree.frame();
    ASSERT_EQ(list.size(), 9U);
    EXPECT_EQ(std::get<draw::PushLayer>(list[0]).opacity, 0.5);
    EXPECT_EQ(std::get<draw::Shadow>(list[1]).radius, 4);
    EXPECT_EQ(std::get<draw::PushClip>(list[2]).shape.kind, Shape::Kind::capsule);
    EXPECT_EQ(std::get<draw::Fill>(list[3]).color, red);
    EXPECT_EQ(std::get<draw::Stroke>(list[4]).width, 1.5);
    EXPECT_EQ(std::get<draw::Text>(list[5]).origin, (Point{5, 5}));
    EXPECT_EQ(std::get<draw::Fill>(list[6]).rect.maxX(), std::get<draw::Fill>(list[3]).rect.maxX());
    EXPECT_TRUE(std::holds_alternative<draw::Pop>(list[7]));
    EXPECT_TRUE(std::holds_alternative<draw::Pop>(list[8]));
}

TEST(Layout, AnImageFitsOrFillsWithItsProportions) {
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = 200;
    bitmap->height = 100;
    TreeUnderTest fit(Image(bitmap).frame({.maximumHeight = 20}), {{100, 100}});
    EXPECT_EQ(fit.drawn<draw::Image>().at(0).rect.size, (Size{40, 20}));
    TreeUnderTest scrolled(ScrollArea(Image(bitmap).frame({.maximumHeight = 20})), {{100, 100}});
    EXPECT_EQ(scrolled.drawn<draw::Image>().at(0).rect.size, (Size{40, 20})) << "where any height will do";
    TreeUnderTest endless(ScrollArea(ShapeView(Rectangle()).fillHeight()), {{100, 100}});
    EXPECT_EQ(endless.drawn<draw::Fill>().at(0).rect.size.height, 10);
    TreeUnderTest fill(Image(bitmap, Image::Scaling::fill).frame(44, 44), {{100, 100}});
    EXPECT_EQ(fill.drawn<draw::Image>().at(0).rect, (Rect{{-22, 0}, {88, 44}}));
    EXPECT_EQ(fill.drawn<draw::PushClip>().at(0).rect, (Rect{{0, 0}, {44, 44}}));
    TreeUnderTest empty(Image(nullptr), {{100, 100}});
    EXPECT_TRUE(empty.drawn<draw::Image>().empty());
}

}  // namespace
}  // namespace vellumix::view
