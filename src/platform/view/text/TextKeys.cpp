#include "platform/view/text/TextKeys.h"

namespace vellumix::view {

namespace {

using Kind = TextCommand::Kind;
using Unit = TextEditor::Unit;
using Way = TextEditor::Way;

std::optional<TextCommand> chordOf(const KeyEvent& event) {
    struct Chord {
        const char* character;
        bool hasShift;
        Kind kind;
    };
    static constexpr Chord chords[] = {
        {"a", false, Kind::selectAll}, {"c", false, Kind::copy}, {"x", false, Kind::cut},
        {"v", false, Kind::paste},     {"z", false, Kind::undo}, {"z", true, Kind::redo},
        {"y", false, Kind::redo},
    };
    for (const auto& chord : chords) {
        if (event.character == chord.character && event.modifiers.hasShift == chord.hasShift) {
            return TextCommand{.kind = chord.kind};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<TextCommand> textCommandOf(const KeyEvent& event) {
    const auto& modifiers = event.modifiers;
    if (modifiers.hasCommand || modifiers.hasOption) return std::nullopt;
    const bool hasControl = modifiers.hasControl;
    const auto unit = hasControl ? Unit::word : Unit::grapheme;
    const auto selecting = modifiers.hasShift ? TextEditor::Selecting::yes : TextEditor::Selecting::no;
    switch (event.key) {
        case Key::left:
            return TextCommand{.kind = Kind::moveLeft, .unit = unit, .selecting = selecting};
        case Key::right:
            return TextCommand{.kind = Kind::moveRight, .unit = unit, .selecting = selecting};
        case Key::home:
            return TextCommand{.kind = Kind::move, .unit = Unit::line, .selecting = selecting};
        case Key::end:
            return TextCommand{
                .kind = Kind::move, .unit = Unit::line, .way = Way::forward, .selecting = selecting};
        case Key::backspace:
            return TextCommand{.kind = Kind::erase, .unit = unit};
        case Key::deleteForward:
            if (modifiers.hasShift && !hasControl) return TextCommand{.kind = Kind::cut};
            return TextCommand{.kind = Kind::erase, .unit = unit, .way = Way::forward};
        case Key::insert:
            if (hasControl == modifiers.hasShift) return std::nullopt;
            return TextCommand{.kind = hasControl ? Kind::copy : Kind::paste};
        case Key::enter:
            return hasControl || modifiers.hasShift ? std::nullopt
                                                    : std::optional(TextCommand{.kind = Kind::submit});
        case Key::character:
        case Key::space:
            if (hasControl) return chordOf(event);
            return event.text.empty() ? std::nullopt : std::optional(TextCommand{.kind = Kind::type});
        default:
            return std::nullopt;
    }
}

}  // namespace vellumix::view
