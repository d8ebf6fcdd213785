#include "platform/foundation/text/Unicode.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

TEST(FixedTextSetter, BreaksLinesAtWordsAndInsideWideOnes) {
    const auto texts = fixedTextSetter();
    struct Case {
        const char* text;
        double columns;
        int limit;
        int lines;
        double widest;
        bool isTruncated;
    };
    const Case cases[] = {
        {"", 10, 0, 1, 0, false},
        {"one two", unbounded, 0, 1, 7, false},
        {"one two", 5, 0, 2, 3, false},
        {"one two", 7, 0, 1, 7, false},
        {"abcdefgh", 3, 0, 3, 3, false},
        {"a abcdefgh", 4, 0, 3, 4, false},
        {"one\ntwo\r\nthree", unbounded, 0, 3, 5, false},
        {"one\n", unbounded, 0, 2, 3, false},
        {"one two three", 5, 2, 2, 4, true},
        {"one two", 5, 2, 2, 3, false},
        {"👨‍👩‍👧‍👦é👍🏽", 2, 0, 2, 2, false},
        {"words", 0, 0, 5, 1, false},
    };
    for (const auto& one : cases) {
        // 10 points of size are 5 a grapheme.
        const auto layout = texts->set(one.text, {Font::system(10), one.columns * 5, one.limit});
        EXPECT_EQ(layout->lineCount(), one.lines) << one.text;
        EXPECT_EQ(layout->size(), (Size{one.widest * 5, one.lines * 12.5})) << one.text;
        EXPECT_EQ(layout->isTruncated(), one.isTruncated) << one.text;
    }
}

TEST(FixedTextSetter, TheCaretAndThePointAgreeAtEveryGrapheme) {
    const auto texts = fixedTextSetter();
    const std::string text = "éa👨‍👩‍👧‍👦 two\nthree";
    for (const auto alignment : {TextOptions::Alignment::leading, TextOptions::Alignment::centre,
                                 TextOptions::Alignment::trailing}) {
        const auto layout = texts->set(text, {Font::system(10), 25, 0, alignment});
        for (const auto offset : graphemeBoundaries(text)) {
            const auto caret = layout->caret(offset);
            EXPECT_EQ(layout->offsetAt({caret.minX() + 1, caret.centre().y}), offset);
        }
        EXPECT_EQ(layout->offsetAt({-100, -100}), 0U);
        EXPECT_EQ(layout->offsetAt({1000, 1000}), text.size());
    }
    const auto layout = texts->set("one two", {Font::system(10), 20});
    const auto areas = layout->areas(1, 6);
    ASSERT_EQ(areas.size(), 2U);
    EXPECT_EQ(areas[0], (Rect{{5, 0}, {10, 12.5}}));
    EXPECT_EQ(areas[1], (Rect{{0, 12.5}, {10, 12.5}}));
    EXPECT_TRUE(layout->areas(2, 2).empty());
}

}  // namespace
}  // namespace vellumix::view
