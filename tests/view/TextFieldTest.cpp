#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

constexpr KeyModifiers shift{.hasShift = true};
constexpr KeyModifiers control{.hasControl = true};
constexpr KeyModifiers controlShift{.hasShift = true, .hasControl = true};

/// A field 100 points wide at (10, 10), of letters 5 points wide.
class TextFieldTest : public HeadlessTest {
protected:
    TextFieldTest() { show({}); }

    void show(TextFieldOptions options) {
        const Binding<String> binding([this] { return text; }, [this](String now) { text = std::move(now); });
        const auto field = TextField(binding, std::move(options)).semantics(Role::textField, "Field");
        tree = std::make_unique<TreeUnderTest>(field.font(Font::system(10)).frame(100, 20).padding(10),
                                               Surface{{120, 40}});
        tree->press(Key::tab);
    }

    void type(const std::string& letters) {
        for (const char letter : letters) tree->press(Key::character, {}, std::string(1, letter));
    }
    bool chord(const char* character, KeyModifiers modifiers = control) {
        const bool isTaken = tree->tree->keyPressed(
            {.key = Key::character, .modifiers = modifiers, .character = character});
        tree->frame();
        return isTaken;
    }
    /// A press and a release on the left edge of a letter, counted from what is in sight.
    void click(int letter, int count = 1, KeyModifiers modifiers = {}) {
        const Point at{10.5 + 5 * letter, 20};
        tree->tree->pointerPressed({at, PointerButton::primary, modifiers, count});
        tree->tree->pointerReleased(at);
        tree->frame();
    }
    /// What is selected, as another program would paste it.
    std::string selected() {
        desktop.pasteboard.copyElsewhere({});
        chord("c");
        return desktop.pasteboard.offered().text.value_or(String()).string();
    }

    String text;
    std::unique_ptr<TreeUnderTest> tree;
};

TEST_F(TextFieldTest, WritesAndMoves) {
    type("helo world");
    EXPECT_EQ(text, "helo world");
    EXPECT_EQ(tree->find(Role::textField, "Field").value, "helo world");
    EXPECT_TRUE(tree->find(Role::textField, "Field").state.isFocused);
    tree->press(Key::home);
    for (int step = 0; step < 3; ++step) tree->press(Key::right);
    type("l");
    EXPECT_EQ(text, "hello world");
    tree->press(Key::right, controlShift);
    EXPECT_EQ(selected(), "o");
}

}  // namespace
}  // namespace vellumix::view
