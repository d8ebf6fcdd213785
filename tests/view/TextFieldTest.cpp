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
        showField(TextField(binding, std::move(options)));
    }
    void showField(const View& bare) {
        const auto field = bare.semantics(Role::textField, "Field");
        tree = std::make_unique<TreeUnderTest>(field.font(Font::system(10)).frame(100, 20).padding(10),
                                               Surface{{120, 40}});
        tree->press(Key::tab);
    }

    void type(const std::string& letters) {
        for (const char letter : letters) tree->press(Key::character, {}, std::string(1, letter));
    }
    bool chord(const char* character, KeyModifiers modifiers = control) {
        const bool isTaken =
            tree->tree->keyPressed({.key = Key::character, .modifiers = modifiers, .character = character});
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

TEST_F(TextFieldTest, WritesMovesAndUsesTheClipboard) {
    type("helo world");
    EXPECT_EQ(text, "helo world");
    EXPECT_EQ(tree->find(Role::textField, "Field").value, "helo world");
    EXPECT_TRUE(tree->find(Role::textField, "Field").state.isFocused);
    tree->press(Key::home);
    tree->press(Key::right);
    tree->press(Key::right, shift);
    EXPECT_EQ(selected(), "e");
    chord("x");
    chord("v");
    chord("v");
    EXPECT_EQ(text, "heelo world");
    tree->press(Key::right, controlShift);
    tree->press(Key::deleteForward, shift);
    EXPECT_EQ(text, "hee world");
    tree->press(Key::end);
    tree->press(Key::insert, shift);
    EXPECT_EQ(text, "hee worldlo");
    tree->press(Key::backspace, control);
    EXPECT_EQ(text, "hee ");
    chord("z");
    chord("z");
    EXPECT_EQ(text, "hee world");
    chord("z", controlShift);
    EXPECT_EQ(text, "hee worldlo");
    // Nothing is selected, so that copying is somebody else's.
    EXPECT_FALSE(chord("c"));
    for (const auto key : {Key::up, Key::down, Key::escape, Key::enter, Key::pageUp}) {
        EXPECT_FALSE(tree->press(key)) << static_cast<int>(key);
    }
    EXPECT_FALSE(chord("f"));
    EXPECT_FALSE(tree->press(Key::character, {.hasCommand = true}, "v"));
    EXPECT_EQ(text, "hee worldlo");
}

TEST_F(TextFieldTest, ThePointerPlacesSelectsAndScrolls) {
    type("one two three four five");
    tree->press(Key::home);
    click(5);
    type("x");
    EXPECT_EQ(text, "one txwo three four five");
    click(0);
    click(3, 1, shift);
    EXPECT_EQ(selected(), "one");
    click(5, 2);
    EXPECT_EQ(selected(), "txwo");
    click(5, 3);
    EXPECT_EQ(selected(), text);
    tree->tree->pointerPressed({{30, 20}, PointerButton::middle, {}, 1});
    tree->tree->pointerReleased({30, 20}, PointerButton::middle);
    EXPECT_EQ(selected(), text);

    // By words, beyond the edge, while the pointer rests there.
    tree->tree->pointerPressed({{10.5 + 5 * 5, 20}, PointerButton::primary, {}, 2});
    tree->tree->pointerMoved({10.5 + 5 * 10, 20});
    tree->frame();
    EXPECT_EQ(selected(), "txwo three");
    EXPECT_LT(tree->tree->nextFrameAt().value_or(1000) - tree->now, 0.6);
    tree->tree->pointerMoved({150, 20});
    for (int step = 0; step < 10; ++step) tree->frame(0.06);
    EXPECT_EQ(selected(), "txwo three four five");
    tree->tree->pointerReleased({150, 20});
    tree->tree->pointerMoved({11, 20});
    EXPECT_EQ(selected(), "txwo three four five");
}

TEST_F(TextFieldTest, ThereIsAStepOfUndoingForEachPause) {
    type("one");
    tree->frame(2);
    type("two");
    chord("z");
    EXPECT_EQ(text, "one");
    // What comes from elsewhere can't be undone, and the caret goes to its end.
    text = "from elsewhere";
    tree->press(Key::left);
    chord("z");
    EXPECT_EQ(text, "from elsewhere");
    type("!");
    EXPECT_EQ(text, "from elsewher!e");
}

TEST_F(TextFieldTest, TheCaretBlinksAndThenRests) {
    const auto carets = [this] { return tree->drawn<draw::Fill>().size(); };
    type("a");
    EXPECT_EQ(tree->tree->textInputCaret(), (Rect{{14, 14}, {2, 13}}));
    std::vector<std::size_t> shown;
    int frames = 0;
    while (const auto next = tree->tree->nextFrameAt()) {
        ASSERT_GT(*next, tree->now);
        ASSERT_FALSE(tree->tree->needsFrame());
        shown.push_back(carets());
        tree->frame(*next - tree->now);
        if (++frames == 100) break;
    }
    EXPECT_EQ(frames, 19);
    EXPECT_EQ(std::vector(shown.begin(), shown.begin() + 4), (std::vector<std::size_t>{1, 0, 1, 0}));
    EXPECT_EQ(carets(), 1U);
    tree->tree->clearFocus();
    EXPECT_EQ(carets(), 0U);
    EXPECT_EQ(tree->tree->textInputCaret(), std::nullopt);
}

TEST_F(TextFieldTest, WhatIsComposedIsNotYetText) {
    type("ab");
    tree->press(Key::left);
    tree->tree->textComposed({"zhong", 5});
    EXPECT_EQ(text, "ab");
    const auto drawn = tree->drawn<draw::Text>();
    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_EQ(drawn[0].layout->size().width, 7 * 5);
    const auto fills = tree->drawn<draw::Fill>();
    ASSERT_EQ(fills.size(), 2U);
    EXPECT_EQ(fills[0].rect.size.width, 5 * 5);
    EXPECT_EQ(fills[0].rect.minY(), std::round(drawn[0].origin.y + drawn[0].layout->baseline() + 1));
    EXPECT_EQ(tree->tree->textInputCaret()->centre().x, 10 + 6 * 5);
    tree->tree->textComposed({});
    tree->press(Key::character, {}, "中");
    EXPECT_EQ(text, "a中b");
    chord("a");
    tree->tree->textComposed({"x", 1});
    EXPECT_EQ(text, "");
}

TEST_F(TextFieldTest, ThePromptMakesRoomForTheFirstLetterThoughItIsOnlyComposed) {
    show({.prompt = "Find"});
    const auto drawn = [&] {
        std::vector<double> widths;
        for (const auto& each : tree->drawn<draw::Text>()) widths.push_back(each.layout->size().width);
        return widths;
    };
    EXPECT_EQ(drawn(), std::vector{4 * 5.0});
    tree->tree->textComposed({"zhong", 5});
    tree->frame();
    EXPECT_EQ(drawn(), std::vector{5 * 5.0});
    tree->tree->textComposed({});
    type("ab");
    EXPECT_EQ(drawn(), std::vector{2 * 5.0});
}

TEST_F(TextFieldTest, ASecretStaysOne) {
    const auto secret = std::make_shared<SecretText>();
    showField(SecretField(secret));
    type("pass word");
    EXPECT_EQ(secret->view(), "pass word");
    EXPECT_EQ(tree->find(Role::textField, "Field").value, "•••••••••");
    EXPECT_FALSE(tree->tree->textInputCaret()) << "no input method hears of it";
    chord("a");
    EXPECT_EQ(selected(), "");
    chord("x");
    EXPECT_EQ(secret->view(), "pass word");

    click(2);
    tree->press(Key::right, shift);
    desktop.pasteboard.copyElsewhere({.text = String("é中\n")});
    chord("v");
    EXPECT_EQ(secret->view(), "paé中s word");
    tree->press(Key::left);
    tree->press(Key::backspace);
    tree->press(Key::deleteForward);
    EXPECT_EQ(secret->view(), "pas word");
    chord("z");
    EXPECT_EQ(secret->view(), "pas word") << "nothing is kept to come back to";

    *secret = SecretText("");
    type("ab");
    EXPECT_EQ(secret->view(), "ab") << "what its owner made of it counts";
    click(1, 2);
    type("n");
    EXPECT_EQ(secret->view(), "n");
}

TEST_F(TextFieldTest, AMegabyteStaysWholeAndQuick) {
    std::string megabyte;
    while (megabyte.size() < (1U << 20)) megabyte += "0123456789\n";
    desktop.pasteboard.copyElsewhere({.text = String(megabyte)});
    chord("v");
    ASSERT_EQ(text.size(), megabyte.size());
    EXPECT_EQ(text.view().substr(0, 22), "0123456789 0123456789 ");
    type("x");
    tree->press(Key::left, control);
    tree->press(Key::backspace);
    // The stretch that is set round the caret is short, and ends with the caret in sight.
    const auto drawn = tree->drawn<draw::Text>();
    ASSERT_EQ(drawn.size(), 1U);
    EXPECT_LT(drawn[0].layout->size().width, 20000);
    const auto caret = tree->tree->textInputCaret();
    EXPECT_GE(caret->minX(), 10);
    EXPECT_LE(caret->maxX(), 110);
    tree->press(Key::home);
    EXPECT_EQ(tree->tree->textInputCaret()->minX(), 10);
    // From step to step the text runs by without a jump, wherever the stretch begins.
    tree->press(Key::right);
    for (double before = 15; before < 105;) {
        tree->press(Key::right);
        const double now = tree->tree->textInputCaret()->centre().x;
        EXPECT_TRUE(now == before + 5 || now >= 107) << before << " " << now;
        before = now;
    }
}

struct Bound {
    State<bool> isFocused = false;
    State<String> text;
    std::vector<std::string>* log;
    View body() const {
        const auto focus = isFocused.binding();
        auto* said = log;
        return VStack(Spacing(0),
                      TextField(text, {.onSubmit = [said] { said->emplace_back("submit"); }})
                          .focusable(focus)
                          .semantics(Role::textField, isFocused ? "on" : "off"),
                      Button([focus] { focus.set(true); }, Text("Focus")))
            .onKey([said](const KeyEvent& event) {
                said->emplace_back("key " + event.text);
                return true;
            });
    }
};

TEST_F(TextFieldTest, AFocusBoundRightAroundItIsItsOwn) {
    std::vector<std::string> log;
    tree = std::make_unique<TreeUnderTest>(Bound{.log = &log});
    tree->click(Role::button, "Focus");
    EXPECT_TRUE(tree->find(Role::textField, "on").state.isFocused);
    type("a");
    tree->press(Key::enter);
    tree->press(Key::up);
    EXPECT_EQ(log, (std::vector<std::string>{"submit", "key "}));
    EXPECT_EQ(tree->find(Role::textField, "on").value, "a");
    tree->tree->focusNext();
    EXPECT_TRUE(tree->find(Role::button, "Focus").state.isFocused);
    tree->tree->focusNext();
    tree->click(Role::textField, "on");
    EXPECT_TRUE(tree->find(Role::textField, "on").state.isFocused);
}

TEST_F(TextFieldTest, ATextCanBeSelectedAndCopied) {
    tree =
        std::make_unique<TreeUnderTest>(Text("one two").font(Font::system(10)).selectable().frame(100, 20));
    const auto box = tree->find(Role::text, "one two").frame;
    const Point second{box.minX() + 26, box.centre().y};
    tree->tree->pointerPressed({second, PointerButton::primary, {}, 2});
    tree->tree->pointerReleased(second);
    EXPECT_EQ(tree->tree->cursor(), Cursor::text);
    EXPECT_EQ(selected(), "two");
    const auto fills = tree->drawn<draw::Fill>();
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].rect.size.width, 15);
    chord("a");
    EXPECT_EQ(selected(), "one two");
    EXPECT_FALSE(tree->press(Key::character, {}, "x"));
    tree->tree->clearFocus();
    EXPECT_FALSE(tree->press(Key::tab)) << "it is no stop on the way";
}

}  // namespace
}  // namespace vellumix::view
