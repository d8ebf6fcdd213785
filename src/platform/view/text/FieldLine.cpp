#include "platform/view/text/FieldLine.h"

#include <algorithm>

namespace vellumix::view {

void FieldLine::layOut(TextSetter& texts, const Font& font, double width, ShownText::Source source,
                       std::size_t composedCaret) {
    const auto before = shown_.range();
    const auto edge = layout_ ? offsetAt(scrolled_) : 0;
    const double edgeBefore = layout_ ? xOf(edge) : 0;

    // What a byte takes at least, in the font's size: families of emoji have many.
    constexpr double narrowestByte = 0.06;
    constexpr double leastReach = 64;
    constexpr double mostReach = 8192;
    const double reach = width / (narrowestByte * std::max(1.0, font.size)) + leastReach;
    source.reach = static_cast<std::size_t>(std::clamp(reach, leastReach, mostReach));
    shown_ = ShownText(source);
    layout_ = texts.set(shown_.string(), {.font = font});
    baseline_ = texts.set(" ", {.font = font})->baseline();
    const auto composed = shown_.marked().isEmpty() ? 0 : composedCaret;
    caretX_ = layout_->caret(shown_.shownOffset(source.caret) + composed).minX();

    // What was at the left edge stays there, though the stretch begins elsewhere now.
    if (shown_.range().begin != before.begin) scrolled_ += xOf(edge) - edgeBefore;
    const double place = source.around == source.caret ? caretX_ : xOf(source.around);
    const double most = std::max(0.0, layout_->size().width + caretWidth - width);
    scrolled_ = std::max(std::min(scrolled_, place), place + caretWidth - width);
    scrolled_ = std::clamp(scrolled_, 0.0, most);
}

double FieldLine::xOf(std::size_t offset) const { return layout_->caret(shown_.shownOffset(offset)).minX(); }

std::size_t FieldLine::offsetAt(double x) const {
    return shown_.textOffset(layout_->offsetAt({x, layout_->size().height / 2}));
}

std::optional<std::size_t> FieldLine::offsetBeside(std::size_t offset, bool toRight) const {
    constexpr double step = 0.5;
    const double from = xOf(offset);
    const double widestLetter = 8 * layout_->size().height;
    for (double away = step; away < widestLetter; away += step) {
        const auto found = offsetAt(toRight ? from + away : from - away);
        const double moved = (xOf(found) - from) * (toRight ? 1 : -1);
        // Where the direction changes, an offset has two places; the other one may be far away.
        if (moved >= step / 2 && moved <= 2 * (away + step)) return found;
    }
    return std::nullopt;
}

}  // namespace vellumix::view
