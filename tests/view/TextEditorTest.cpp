#include <gtest/gtest.h>

#include <functional>

#include "platform/view/text/TextEditor.h"

namespace vellumix::view {
namespace {

using Selecting = TextEditor::Selecting;
using Source = TextEditor::Source;
using Unit = TextEditor::Unit;
using Way = TextEditor::Way;

/// A text with `|` where the caret stands, and `^` where a selection began.
TextEditor editorOf(std::string text) {
    auto head = text.find('|');
    text.erase(head, 1);
    auto anchor = text.find('^');
    if (anchor != std::string::npos) {
        text.erase(anchor, 1);
        if (anchor < head) --head;
    }
    TextEditor editor(text);
    editor.moveTo(anchor == std::string::npos ? head : anchor, Selecting::no);
    editor.moveTo(head, Selecting::yes);
    return editor;
}

std::string picture(const TextEditor& editor) {
    auto text = editor.text();
    text.insert(editor.head(), "|");
    if (editor.anchor() != editor.head()) {
        text.insert(editor.anchor() + (editor.anchor() > editor.head() ? 1 : 0), "^");
    }
    return text;
}

TEST(TextEditor, MovesAndErasesByLettersAndWords) {
    const auto move = [](Way way, Unit unit, Selecting selecting = Selecting::no) {
        return [=](TextEditor& editor) { editor.move(way, unit, selecting); };
    };
    const auto erase = [](Way way, Unit unit) {
        return [=](TextEditor& editor) { editor.erase(way, unit); };
    };
    const auto insert = [](const char* text) {
        return [=](TextEditor& editor) { editor.insert(text, Source::typed); };
    };
    struct Case {
        const char* before;
        std::function<void(TextEditor&)> change;
        const char* after;
    };
    const Case cases[] = {
        {"a👨‍👩‍👧‍👦|b", move(Way::backward, Unit::grapheme), "a|👨‍👩‍👧‍👦b"},
        {"a👨‍👩‍👧‍👦|b", erase(Way::backward, Unit::grapheme), "a|b"},
        {"🇩🇪🇫🇷|🇮🇹", erase(Way::backward, Unit::grapheme), "🇩🇪|🇮🇹"},
        {"|e\u0301x", erase(Way::forward, Unit::grapheme), "|x"},
        {"|", erase(Way::backward, Unit::word), "|"},
        {"one, two  |", move(Way::backward, Unit::word), "one, |two  "},
        {"one| , two", move(Way::forward, Unit::word), "one , two|"},
        {"one two. |", erase(Way::backward, Unit::word), "one |"},
        {"it|'s so", erase(Way::forward, Unit::word), "it| so"},
        {"สวัสดี|ครับ", move(Way::forward, Unit::word), "สวัสดีครับ|"},
        {"a ^b| c", move(Way::backward, Unit::grapheme), "a |b c"},
        {"a |b^ c", move(Way::forward, Unit::grapheme), "a b| c"},
        {"a |b^ c", move(Way::forward, Unit::line, Selecting::yes), "a b^ c|"},
        {"a ^b| c", erase(Way::forward, Unit::word), "a | c"},
        {"a ^b| c", insert("1\r\n2\u2028\xFF"), "a 1 2 \uFFFD| c"},
        // What is typed before a mark takes it.
        {"|\u0301!", insert("e"), "e\u0301|!"},
    };
    for (const auto& one : cases) {
        auto editor = editorOf(one.before);
        one.change(editor);
        EXPECT_EQ(picture(editor), one.after) << one.before;
    }
}

TEST(TextEditor, UndoesByKindAndPause) {
    TextEditor editor;
    const auto type = [&](std::string_view letters) {
        for (const char letter : letters) editor.insert(std::string(1, letter), Source::typed);
    };
    type("one ");
    editor.endStep();
    type("two");
    editor.erase(Way::backward, Unit::grapheme);
    editor.erase(Way::backward, Unit::grapheme);
    editor.selectAll();
    editor.insert("pasted", Source::pasted);
    editor.insert("!", Source::pasted);

    const char* const steps[] = {"pasted!|", "pasted|", "^one t|", "one two|", "one |", "|"};
    for (const auto* step : steps) {
        EXPECT_EQ(picture(editor), step);
        editor.undo();
    }
    editor.undo();
    EXPECT_EQ(picture(editor), "|");
    for (const auto* step : {"one |", "one two|", "one t|"}) {
        editor.redo();
        EXPECT_EQ(picture(editor), step);
    }
    type("x");
    editor.redo();
    EXPECT_EQ(picture(editor), "one tx|");
    editor.reset("other");
    editor.undo();
    EXPECT_EQ(picture(editor), "other|");
    // Going somewhere, and be it back, begins another step.
    type("ab");
    editor.move(Way::backward, Unit::grapheme, Selecting::no);
    editor.move(Way::forward, Unit::grapheme, Selecting::no);
    type("c");
    editor.undo();
    EXPECT_EQ(picture(editor), "otherab|");
}

TEST(TextEditor, SelectsByTheUnitOfThePress) {
    auto editor = editorOf("|one two three");
    editor.pressAt(5, Unit::word, Selecting::no);
    EXPECT_EQ(picture(editor), "one ^two| three");
    editor.dragTo(9);
    EXPECT_EQ(picture(editor), "one ^two three|");
    editor.dragTo(1);
    EXPECT_EQ(picture(editor), "|one two^ three");
    editor.pressAt(6, Unit::grapheme, Selecting::yes);
    EXPECT_EQ(picture(editor), "one tw|o^ three");
    editor.pressAt(0, Unit::line, Selecting::no);
    EXPECT_EQ(picture(editor), "^one two three|");
}

}  // namespace
}  // namespace vellumix::view
