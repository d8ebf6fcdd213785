#include "platform/view/text/TextEditor.h"

#include <algorithm>
#include <utility>

namespace vellumix::view {

namespace {

/// How many bytes a line end at this place has; 0 where there is none (Unicode Standard section 5.8).
std::size_t lineEndLength(std::string_view rest) {
    if (rest.starts_with("\r\n")) return 2;
    if (rest[0] >= '\n' && rest[0] <= '\r') return 1;
    if (rest.starts_with("\u0085")) return 2;
    return rest.starts_with("\u2028") || rest.starts_with("\u2029") ? 3 : 0;
}

std::string inOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (const auto length = lineEndLength(text.substr(at))) {
            line += ' ';
            at += length;
        } else {
            line += text[at++];
        }
    }
    return line;
}

}  // namespace

TextEditor::TextEditor(std::string text) { reset(std::move(text)); }

TextRange TextEditor::selection() const { return {std::min(anchor_, head_), std::max(anchor_, head_)}; }

std::string_view TextEditor::selectedText() const {
    const auto [begin, end] = selection();
    return std::string_view(text_).substr(begin, end - begin);
}

void TextEditor::reset(std::string text) {
    text_ = std::move(text);
    anchor_ = head_ = text_.size();
    pressed = {};
    forgetSteps();
}

void TextEditor::move(Way way, Unit unit, Selecting selecting) {
    const auto selected = selection();
    const bool collapses = selecting == Selecting::no && unit == Unit::grapheme && !selected.isEmpty();
    const auto edge = way == Way::backward ? selected.begin : selected.end;
    moveTo(collapses ? edge : target(way, unit), selecting);
}

void TextEditor::moveTo(std::size_t offset, Selecting selecting) {
    head_ = boundaryAt(offset);
    if (selecting == Selecting::no) anchor_ = head_;
    endStep();
}

void TextEditor::selectAll() {
    anchor_ = 0;
    head_ = text_.size();
    endStep();
}

void TextEditor::pressAt(std::size_t offset, Unit unit, Selecting selecting) {
    pressedUnit = unit;
    if (selecting == Selecting::yes) {
        pressed = {anchor_, anchor_};
        dragTo(offset);
        return;
    }
    pressed = unitAt(offset, unit);
    anchor_ = pressed.begin;
    head_ = pressed.end;
    endStep();
}

void TextEditor::dragTo(std::size_t offset) {
    pressed.end = std::min(pressed.end, text_.size());
    pressed.begin = std::min(pressed.begin, pressed.end);
    const auto reached = unitAt(offset, pressedUnit);
    const bool isBackward = reached.begin < pressed.begin;
    anchor_ = isBackward ? pressed.end : pressed.begin;
    head_ = isBackward ? reached.begin : std::max(reached.end, pressed.end);
    endStep();
}

void TextEditor::insert(std::string_view text, Source source) {
    const auto line = inOneLine(repairedUTF8(text));
    if (line.empty() && selection().isEmpty()) return;
    replace(selection(), line, source == Source::typed ? Kind::typing : Kind::pasting);
    if (source == Source::pasted) endStep();
}

void TextEditor::erase(Way way, Unit unit) {
    auto range = selection();
    if (range.isEmpty()) {
        const auto reached = target(way, unit);
        range = {std::min(head_, reached), std::max(head_, reached)};
    }
    if (range.isEmpty()) return;
    replace(range, {}, way == Way::backward ? Kind::erasingBackward : Kind::erasingForward);
}

void TextEditor::undo() {
    if (done.empty()) return;
    auto step = std::move(done.back());
    done.pop_back();
    text_.replace(step.offset, step.inserted.size(), step.removed);
    anchor_ = step.anchorBefore;
    head_ = step.headBefore;
    endStep();
    undone.push_back(std::move(step));
}

void TextEditor::redo() {
    if (undone.empty()) return;
    auto step = std::move(undone.back());
    undone.pop_back();
    text_.replace(step.offset, step.removed.size(), step.inserted);
    anchor_ = head_ = step.offset + step.inserted.size();
    endStep();
    done.push_back(std::move(step));
}

void TextEditor::forgetSteps() {
    done.clear();
    undone.clear();
    endStep();
}

std::size_t TextEditor::boundaryAt(std::size_t offset) const {
    if (offset >= text_.size()) return text_.size();
    return graphemeBoundaryBefore(text_, graphemeBoundaryAfter(text_, offset));
}

std::size_t TextEditor::target(Way way, Unit unit) const {
    const bool isBackward = way == Way::backward;
    switch (unit) {
        case Unit::grapheme:
            return isBackward ? graphemeBoundaryBefore(text_, head_) : graphemeBoundaryAfter(text_, head_);
        case Unit::word:
            return isBackward ? wordStartBefore(text_, head_) : wordEndAfter(text_, head_);
        case Unit::line:
            break;
    }
    return isBackward ? 0 : text_.size();
}

TextRange TextEditor::unitAt(std::size_t offset, Unit unit) const {
    const auto at = boundaryAt(offset);
    if (unit == Unit::line) return {0, text_.size()};
    return unit == Unit::word ? wordSegmentAt(text_, at) : TextRange{at, at};
}

void TextEditor::replace(TextRange range, std::string_view text, Kind kind) {
    const bool isContinued = continueStep(range, text, kind);
    if (!isContinued) {
        const auto removed = text_.substr(range.begin, range.end - range.begin);
        done.push_back({kind, range.begin, removed, std::string(text), anchor_, head_});
    }
    undone.clear();
    text_.replace(range.begin, range.end - range.begin, text);
    anchor_ = head_ = range.begin + text.size();
    // What was typed may have joined the letter behind it.
    if (boundaryAt(head_) != head_) anchor_ = head_ = graphemeBoundaryAfter(text_, head_);
    isStepOpen = true;
    dropOldSteps();
}

bool TextEditor::continueStep(TextRange range, std::string_view text, Kind kind) {
    if (!isStepOpen || done.empty() || done.back().kind != kind || !selection().isEmpty()) return false;
    auto& step = done.back();
    const std::string_view removed = std::string_view(text_).substr(range.begin, range.end - range.begin);
    if (kind == Kind::typing && range.begin == step.offset + step.inserted.size()) {
        step.inserted += text;
        return true;
    }
    if (kind == Kind::erasingBackward && range.end == step.offset) {
        step.removed.insert(0, removed);
        step.offset = range.begin;
        return true;
    }
    if (kind == Kind::erasingForward && range.begin == step.offset) {
        step.removed += removed;
        return true;
    }
    return false;
}

void TextEditor::dropOldSteps() {
    constexpr std::size_t mostSteps = 1000;
    constexpr std::size_t mostBytes = std::size_t{8} << 20;
    std::size_t bytes = 0;
    auto kept = done.size();
    while (kept > 0 && done.size() - kept < mostSteps) {
        bytes += done[kept - 1].removed.size() + done[kept - 1].inserted.size();
        // The last step stays, however large: it is what somebody is most likely to regret.
        if (bytes > mostBytes && kept < done.size()) break;
        --kept;
    }
    done.erase(done.begin(), done.begin() + static_cast<std::ptrdiff_t>(kept));
}

}  // namespace vellumix::view
