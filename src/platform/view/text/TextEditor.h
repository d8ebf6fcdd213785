#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/text/Unicode.h"

namespace vellumix::view {

/// A text of one line in the hands of somebody who writes: the text, what is selected of it, and the way
/// back. Knows nothing of keys, fonts or windows.
///
/// Offsets are bytes of the UTF-8 text. Those that are given are taken to the nearest grapheme boundary at or
/// before them (Unicode Standard Annex 29, section 3), so that a caret never stands inside a letter.
class TextEditor {
public:
    /// How far one step goes.
    enum class Unit { grapheme, word, line };
    enum class Way { backward, forward };
    /// What a move does with the selection: gives it up, or takes its head along.
    enum class Selecting { no, yes };

    /// The caret stands at the end. Taken as it is, line ends included.
    explicit TextEditor(std::string text = {});

    const std::string& text() const { return text_; }
    /// Where the caret stands, and where the selection began.
    std::size_t head() const { return head_; }
    std::size_t anchor() const { return anchor_; }
    TextRange selection() const;
    std::string_view selectedText() const;

    /// Another text, with the caret at its end and no way back to this one.
    void reset(std::string text);

    void move(Way way, Unit unit, Selecting selecting);
    void moveTo(std::size_t offset, Selecting selecting);
    void selectAll();

    /// Begins a selection of whole units that `dragTo` makes larger: with `Selecting::yes` from where the
    /// last one began.
    void pressAt(std::size_t offset, Unit unit, Selecting selecting);
    /// The selection reaches from where it was begun to the unit at the offset.
    void dragTo(std::size_t offset);

    /// Replaces the selection. Line ends become blanks, one for each, and ill-formed UTF-8 is repaired.
    /// Insertions as typed follow each other into one step of undoing; one that is not is a step of its own.
    enum class Source { typed, pasted };
    void insert(std::string_view text, Source source);
    /// Deletes the selection, or from the caret as far as the unit reaches.
    void erase(Way way, Unit unit);

    /// Each takes back, or does again, one step; the selection comes back with it.
    void undo();
    void redo();
    /// What is done next is a step of its own.
    void endStep() { isStepOpen = false; }
    void forgetSteps();

private:
    enum class Kind { typing, pasting, erasingBackward, erasingForward };
    /// At `offset`, `removed` gave way to `inserted`.
    struct Step {
        Kind kind;
        std::size_t offset;
        std::string removed;
        std::string inserted;
        std::size_t anchorBefore;
        std::size_t headBefore;
    };

    std::size_t boundaryAt(std::size_t offset) const;
    std::size_t target(Way way, Unit unit) const;
    TextRange unitAt(std::size_t offset, Unit unit) const;
    void replace(TextRange range, std::string_view text, Kind kind);
    bool continueStep(TextRange range, std::string_view text, Kind kind);
    void dropOldSteps();

    std::string text_;
    std::size_t anchor_ = 0;
    std::size_t head_ = 0;
    Unit pressedUnit = Unit::grapheme;
    TextRange pressed;
    std::vector<Step> done;
    std::vector<Step> undone;
    bool isStepOpen = false;
};

}  // namespace vellumix::view
