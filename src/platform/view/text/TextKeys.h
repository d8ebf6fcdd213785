#pragma once

#include <optional>

#include "platform/desktop/Event.h"
#include "platform/view/text/TextEditor.h"

namespace vellumix::view {

/// What a key asks of a text.
struct TextCommand {
    enum class Kind {
        /// To the left or the right as it is seen, by `unit`.
        moveLeft,
        moveRight,
        move,
        erase,
        /// What the key types.
        type,
        copy,
        cut,
        paste,
        selectAll,
        undo,
        redo,
        submit,
    };
    Kind kind = Kind::type;
    TextEditor::Unit unit = TextEditor::Unit::grapheme;
    TextEditor::Way way = TextEditor::Way::backward;
    TextEditor::Selecting selecting = TextEditor::Selecting::no;
};

/// As text fields of the Linux desktops have it; nothing for a key that means nothing to them.
std::optional<TextCommand> textCommandOf(const KeyEvent& event);

}  // namespace vellumix::view
