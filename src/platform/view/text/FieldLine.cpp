#include "platform/view/text/FieldLine.h"

#include <algorithm>

namespace vellumix::view {

void FieldLine::layOut(TextSetter& texts, const Font& font, double width, ShownText::Source source,
                       std::size_t composedCaret) {
    const auto before = _shown.range();
    const auto edge = _layout ? offsetAt(_scrolled) : 0;
    const double edgeBefore = _layout ? xOf(edge) : 0;

    // What a byte takes at least, in the font's size: families of emoji have many.
    constexpr double narrowestByte = 0.06;
    constexpr double leastReach = 64;
    constexpr double mostReach = 8192;
    const double reach = width / (narrowestByte * std::max(1.0, font.size)) + leastReach;
    source.reach = static_cast<std::size_t>(std::clamp(reach, leastReach, mostReach));
    _shown = ShownText(source);
    _layout = texts.set(_shown.string(), {.font = font});
    _baseline = texts.set(" ", {.font = font})->baseline();
    const auto composed = _shown.marked().isEmpty() ? 0 : composedCaret;
    _caretX = _layout->caret(_shown.shownOffset(source.caret) + composed).minX();

    // What was at the left edge stays there, though the stretch begins elsewhere now.
    if (_shown.range().begin != before.begin) _scrolled += xOf(edge) - edgeBefore;
    const double place = source.around == source.caret ? _caretX : xOf(source.around);
    const double most = std::max(0.0, _layout->size().width + caretWidth - width);
    _scrolled = std::max(std::min(_scrolled, place), place + caretWidth - width);
    _scrolled = std::clamp(_scrolled, 0.0, most);
}

double FieldLine::xOf(std::size_t offset) const { return _layout->caret(_shown.shownOffset(offset)).minX(); }

std::size_t FieldLine::offsetAt(double x) const {
    return _shown.textOffset(_layout->offsetAt({x, _layout->size().height / 2}));
}

std::optional<std::size_t> FieldLine::offsetBeside(std::size_t offset, bool toRight) const {
    constexpr double step = 0.5;
    const double from = xOf(offset);
    const double widestLetter = 8 * _layout->size().height;
    for (double away = step; away < widestLetter; away += step) {
        const auto found = offsetAt(toRight ? from + away : from - away);
        const double moved = (xOf(found) - from) * (toRight ? 1 : -1);
        // Where the direction changes, an offset has two places; the other one may be far away.
        if (moved >= step / 2 && moved <= 2 * (away + step)) return found;
    }
    return std::nullopt;
}

}  // namespace vellumix::view
