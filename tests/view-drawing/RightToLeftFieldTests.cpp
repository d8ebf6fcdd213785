#include <gtest/gtest.h>

#include "platform/view/paint/PangoTextSetter.h"
#include "platform/view/tree/ViewTree.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {
namespace {

TEST(TextField, TheCaretMovesAsItIsSeenInTextOfBothDirections) {
    // As it is seen: "abc" and, to its right, the letters of the Hebrew word from its end to its beginning.
    String text("abc \u05E9\u05DC\u05D5\u05DD");
    const Binding<String> binding([&] { return text; }, [&](String now) { text = std::move(now); });
    PangoTextSetter texts;
    for (const bool isHebrewAlone : {false, true}) {
        if (isHebrewAlone) text = "\u05E9\u05DC\u05D5\u05DD";
        ViewTree tree(TextField(binding).frame(200, 20), texts, {{200, 20}});
        tree.frame(0);
        tree.focusNext();
        const auto press = [&](Key key, KeyModifiers modifiers = {}) {
            tree.keyPressed({key, {}, modifiers});
            tree.frame(0);
            return tree.textInputCaret()->minX();
        };
        // A right-to-left text stands on the right.
        double before = press(Key::home);
        EXPECT_EQ(before, isHebrewAlone ? 198 : 0);
        const auto key = isHebrewAlone ? Key::left : Key::right;
        for (int letter = 0; letter < (isHebrewAlone ? 4 : 7); ++letter) {
            const double now = press(key);
            EXPECT_TRUE(isHebrewAlone ? now < before : now > before) << letter << ": " << now;
            before = now;
        }
        // Behind the last letter that is seen, the text goes on at its end.
        press(key);
        tree.keyPressed({Key::character, "!"});
        EXPECT_TRUE(text.view().ends_with("\u05DD!"));
        // Selected from there, the word lies where it is seen.
        press(Key::home);
        press(Key::end, {.hasShift = true});
        std::vector<Rect> selected;
        for (const auto& command : tree.frame(0)) {
            const auto* fill = std::get_if<draw::Fill>(&command);
            if (fill && fill->rect.size.width > 2) selected.push_back(fill->rect);
        }
        ASSERT_FALSE(selected.empty());
        EXPECT_NEAR(isHebrewAlone ? selected.back().maxX() : selected.front().minX(),
                    isHebrewAlone ? 198.5 : 0, 0.5);
    }
}

}  // namespace
}  // namespace vellumix::view
