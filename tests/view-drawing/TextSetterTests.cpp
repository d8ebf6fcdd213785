#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"

namespace vellumix::view {
namespace {

std::string repeated(std::string_view part, std::size_t count) {
    std::string text;
    text.reserve(part.size() * count);
    for (; count > 0; --count) text += part;
    return text;
}

constexpr const char* shalom = "\u05E9\u05DC\u05D5\u05DD";
constexpr const char* coder = "\U0001F469\U0001F3FD\u200D\U0001F4BB";

TEST(TextSetter, ALimitedTextCostsWhatItsVisibleLinesCost) {
    struct {
        const char* what;
        std::string text;
    } const cases[] = {
        {"one long line", repeated("x", 1'000'000)},  {"words", repeated("a word ", 150'000)},
        {"narrow letters", repeated("i", 1'000'000)}, {"blanks", repeated(" ", 1'000'000)},
        {"lines", repeated("line\n", 200'000)},       {"empty lines", repeated("\n", 1'000'000) + "end"},
        {"marks", "a" + repeated("\u0301", 500'000)}, {"joiners", repeated("\u200D", 300'000)},
        {"emoji", repeated(coder, 60'000)},           {"overrides", repeated("\u202Eabc", 150'000)},
        {"zeros", std::string(1'000'000, '\0')},      {"ill-formed", std::string(1'000'000, '\xFF')},
    };
    for (const auto& each : cases) {
        for (const int lineLimit : {1, 2, 5}) {
            PangoTextSetter setter;
            const auto layout = setter.set(each.text, {.maximumWidth = 240, .lineLimit = lineLimit});
            EXPECT_LT(setter.shapedCharacterCount(), 500u * static_cast<unsigned>(lineLimit)) << each.what;
            EXPECT_LE(layout->lineCount(), lineLimit) << each.what;
            EXPECT_TRUE(layout->isTruncated()) << each.what;
            EXPECT_LE(layout->size().width, 240) << each.what;
            EXPECT_LT(layout->size().height, 2.5 * 13 * lineLimit) << each.what;
        }
    }
    PangoTextSetter setter;
    EXPECT_TRUE(setter.set(repeated("word ", 200'000), {.maximumWidth = 240})->isTruncated());
    EXPECT_LE(setter.shapedCharacterCount(), longestText + 1);
}

TEST(TextSetter, TheEllipsisComesExactlyWhenSomethingIsLeftOut) {
    struct {
        const char* text;
        double width;
        int lineLimit;
        int lineCount;
        bool isTruncated;
    } const cases[] = {
        {"short", 240, 1, 1, false},
        {"short", 240, 2, 1, false},
        {"short\n", 240, 1, 1, false},
        {"one\ntwo", 240, 1, 1, true},
        {"one\ntwo", 240, 2, 2, false},
        {"one\r\ntwo\r\nthree", 240, 2, 2, true},
        {"one\ntwo\nthree", unbounded, 2, 2, true},
        {"one\n\n\nfour", 240, 2, 2, true},
        {"one\u2028two\u2029three", 240, 1, 1, true},
        {"one\u2028two\u2029three", 240, 2, 2, true},
        {"one\u2028two\u2029three", 240, 3, 3, false},
        {"a line that is wrapped\nanother", 80, 2, 2, true},
        {"wrapped once only", 80, 2, 2, false},
        {"unbroken_and_long_beyond_all_measure", 80, 1, 1, true},
        {"", 240, 1, 1, false},
        {"W", 2, 1, 1, false},
        {"one\ntwo\nthree", 240, 0, 3, false},
    };
    for (const auto& each : cases) {
        PangoTextSetter setter;
        const auto layout = setter.set(each.text, {.maximumWidth = each.width, .lineLimit = each.lineLimit});
        EXPECT_EQ(layout->lineCount(), each.lineCount) << each.text;
        EXPECT_EQ(layout->isTruncated(), each.isTruncated) << each.text;
        EXPECT_LE(layout->size().width, each.width) << each.text;
        EXPECT_GT(layout->size().height, 0) << each.text;
    }
}

TEST(TextSetter, ABoxAsWideAsATextWasMeasuredHoldsIt) {
    PangoTextSetter setter;
    for (const auto* text : {"Clear history", "WAVE To.", "5 minutes ago", "fi\u0301n", shalom}) {
        for (const double size : {9.0, 10.0, 11.5, 13.0, 18.0}) {
            const auto free = setter.set(text, {.font = Font::system(size)});
            const auto again = setter.set(
                text, {.font = Font::system(size), .maximumWidth = free->size().width, .lineLimit = 1});
            EXPECT_FALSE(again->isTruncated()) << text << size;
            EXPECT_EQ(again->size(), free->size()) << text << size;
        }
    }
}

TEST(TextSetter, CaretsGoByGraphemeAndPointsFindThem) {
    PangoTextSetter setter;
    const std::string combined = "e\u0301";
    struct {
        std::string text;
        std::vector<std::size_t> stops;
    } const cases[] = {
        {"abc", {0, 1, 2, 3}},
        {"a" + combined + "b", {0, 1, 4, 5}},
        {std::string("x") + coder + "y", {0, 1, 16, 17}},
    };
    for (const auto& each : cases) {
        const auto layout = setter.set(each.text, {});
        double last = -1;
        for (std::size_t at = 0; at < each.stops.size(); ++at) {
            const auto caret = layout->caret(each.stops[at]);
            EXPECT_GT(caret.minX(), last) << each.text;
            EXPECT_EQ(layout->offsetAt({caret.minX() + 0.1, 5}), each.stops[at]) << each.text;
            last = caret.minX();
        }
        EXPECT_NEAR(last, layout->size().width, 0.01) << each.text;
        EXPECT_EQ(layout->offsetAt({-50, -50}), 0u);
        EXPECT_EQ(layout->offsetAt({5000, 5000}), each.text.size());
        // Whatever is pointed at, the answer is a place for a caret.
        for (double x = -1; x < layout->size().width + 2; x += 0.5) {
            const auto offset = layout->offsetAt({x, 5});
            EXPECT_NE(std::find(each.stops.begin(), each.stops.end(), offset), each.stops.end())
                << each.text << " at " << x;
        }
        EXPECT_EQ(layout->caret(10'000), layout->caret(each.text.size()));
    }
}

TEST(TextSetter, RightToLeftTextStartsAtTheRight) {
    PangoTextSetter setter;
    const auto line = setter.set(shalom, {});
    EXPECT_NEAR(line->caret(0).minX(), line->size().width, 0.01);
    EXPECT_NEAR(line->caret(8).minX(), 0, 0.01);

    // The ellipsis of a cut text is at its end, which is on the left, on the line that it is given alone too.
    const auto words = repeated(std::string(shalom) + ' ', 100);
    for (const int lineLimit : {1, 2, 3}) {
        const auto cut = setter.set(words, {.maximumWidth = 200, .lineLimit = lineLimit});
        EXPECT_TRUE(cut->isTruncated());
        const auto bottom = cut->size().height - 1;
        EXPECT_LT(cut->offsetAt({cut->size().width, bottom}), cut->offsetAt({0, bottom})) << lineLimit;
        for (const auto& area : cut->areas(0, words.size())) {
            EXPECT_GE(area.minX(), -0.01);
            EXPECT_LE(area.maxX(), cut->size().width + 0.01);
        }
    }

    // A last line keeps to the side of those above it.
    const std::string first = repeated(shalom, 4);
    const auto cut = setter.set(first + '\n' + shalom + "\nmore", {.maximumWidth = 300, .lineLimit = 2});
    EXPECT_NEAR(cut->caret(first.size() + 1).minX(), cut->size().width, 0.01);

    // Two directions in a line are two areas.
    const std::string mixed = std::string("ab") + shalom;
    EXPECT_EQ(setter.set(mixed, {})->areas(1, 6).size(), 2u);
}

TEST(TextSetter, AreasFollowTheLines) {
    PangoTextSetter setter;
    const auto layout = setter.set("one\ntwo\nthree", {});
    const auto areas = layout->areas(1, 9);
    ASSERT_EQ(areas.size(), 3u);
    EXPECT_NEAR(areas[0].minX(), layout->caret(1).minX(), 0.01);
    EXPECT_EQ(areas[1].minX(), 0);
    EXPECT_NEAR(areas[2].maxX(), layout->caret(9).minX(), 0.01);
    EXPECT_EQ(areas[1].minY(), areas[0].maxY());
    EXPECT_TRUE(layout->areas(5, 5).empty());
    EXPECT_TRUE(layout->areas(500, 900).empty());
}

TEST(TextSetter, ALongWordIsBrokenWithoutAHyphen) {
    PangoTextSetter setter;
    const auto word = repeated("W", 60);
    const auto layout = setter.set(word, {.maximumWidth = 220});
    EXPECT_GT(layout->lineCount(), 1);
    const double letters = layout->size().width / setter.set("W", {})->size().width;
    EXPECT_NEAR(letters, std::round(letters), 0.02);
}

TEST(TextSetter, AlignmentMovesShortLinesWithinTheWidestOne) {
    PangoTextSetter setter;
    using Alignment = TextOptions::Alignment;
    const auto left = [&](const std::string& text, Alignment alignment) {
        const auto layout = setter.set(text, {.maximumWidth = 300, .alignment = alignment});
        return layout->areas(0, 1).front().minX() / layout->size().width;
    };
    EXPECT_EQ(left("a\nmuch wider", Alignment::leading), 0);
    EXPECT_NEAR(left("a\nmuch wider", Alignment::centre), 0.45, 0.04);
    EXPECT_NEAR(left("a\nmuch wider", Alignment::trailing), 0.9, 0.05);
}

TEST(TextSetter, FontsDifferAsAsked) {
    PangoTextSetter setter;
    const auto width = [&](const char* text, const Font& font) {
        return setter.set(text, {.font = font})->size().width;
    };
    const auto monospaced = Font::system(12, Font::Weight::regular, Font::Design::monospaced);
    EXPECT_EQ(width("iii", monospaced), width("WWW", monospaced));
    EXPECT_LT(width("iii", Font::system(12)), width("WWW", Font::system(12)));
    EXPECT_GT(width("Title", Font::system(12, Font::Weight::bold)), width("Title", Font::system(12)));
    // Sizes don't jump to whole pixels.
    EXPECT_NEAR(width("A line of text", Font::system(26)), 2 * width("A line of text", Font::system(13)),
                0.3);
    for (const double size : {-4.0, 0.0, 1e9, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_GT(width("x", Font::system(size)), 0);
}

TEST(TextSetter, ARepeatedTextIsNotShapedAgain) {
    PangoTextSetter setter;
    const TextOptions options{.maximumWidth = 200, .lineLimit = 2};
    const auto first = setter.set("the same", options);
    const auto count = setter.shapedCharacterCount();
    EXPECT_EQ(setter.set(std::string("the same"), options), first);
    EXPECT_EQ(setter.shapedCharacterCount(), count);
    EXPECT_NE(setter.set("the same", {.maximumWidth = 100, .lineLimit = 2}), first);
}

TEST(TextSetter, NoInputPaintsOutsideItsBox) {
    PangoTextSetter setter;
    CairoPainter painter;
    constexpr int side = 200;
    constexpr double margin = 60;
    // Letters may lean out a little.
    constexpr double lean = 6;
    const std::string cases[] = {
        "a" + repeated("\u0301", 200),
        repeated("\u0489", 50),
        repeated("\u202E\u2066override ", 20),
        std::string("\x01\x02\x1B[31m\x7F\xC2\x85 text", 15),
        repeated("\uFDFD", 10),
        std::string("\xF0\x9F\x98 cut \xED\xA0\x80 half"),
        "W",
    };
    for (const auto& text : cases) {
        for (const double width : {3.0, 40.0}) {
            const auto layout = setter.set(text, {.maximumWidth = width, .lineLimit = 2});
            EXPECT_LE(layout->size().width, width);
            CairoSurface surface(side, side);
            const Rect box{{margin, margin}, layout->size()};
            painter.paint({draw::Text{box.origin, layout, Color::grey(0)}}, surface, 1,
                          {{0, 0}, {side, side}});
            for (int y = 0; y < side; ++y) {
                for (int x = 0; x < side; ++x) {
                    const bool isNear = Rect{{box.minX() - lean, box.minY() - lean},
                                             {box.size.width + 2 * lean, box.size.height + 2 * lean}}
                                            .contains({x + 0.5, y + 0.5});
                    if (!isNear) {
                        ASSERT_EQ(surface.pixelAt(x, y), 0u) << text << " at " << x << ' ' << y;
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace vellumix::view
