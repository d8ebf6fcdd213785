#include "platform/view/paint/PangoTextLayout.h"

#include <algorithm>
#include <cmath>

namespace vellumix::view {

namespace {

double points(int units) { return pango_units_to_double(units); }

Rect rectOf(const PangoRectangle& units, double top) {
    return {{points(units.x), points(units.y) + top}, {points(units.width), points(units.height)}};
}

/// Of the boxes that Pango draws for letters where there is no font at all (pango-font.h,
/// PANGO_UNKNOWN_GLYPH_HEIGHT), which stand on the baseline.
constexpr double heightWithoutFont = 14;

bool lacksFont(const PangoLayoutLine* line) {
    return line->runs && !static_cast<const PangoGlyphItem*>(line->runs->data)->item->analysis.font;
}

/// In the order in which they are seen, from the left.
std::vector<double> letterWidths(const PangoLayoutLine* line) {
    std::vector<double> widths;
    for (const auto* run = line->runs; run; run = run->next) {
        const auto& glyphs = *static_cast<const PangoGlyphItem*>(run->data)->glyphs;
        for (int at = 0; at < glyphs.num_glyphs; ++at) {
            widths.push_back(points(glyphs.glyphs[at].geometry.width));
        }
    }
    return widths;
}

}  // namespace

PangoTextLayout::PangoTextLayout(std::vector<Part> parts, const TextOptions& options, Rest rest)
    : parts(std::move(parts)), rest_(rest) {
    for (const auto& part : this->parts) addLines(part, lines.empty() ? 0 : lines.back().rect.maxY());
    double left = unbounded;
    double right = 0;
    for (const auto& line : lines) {
        left = std::min(left, line.rect.minX());
        right = std::max(right, line.rect.maxX());
    }
    for (auto& line : lines) {
        line.rect.origin.x -= left;
        line.shift = left;
    }
    size_ = {std::min(right - left, std::max(0.0, options.maximumWidth)), lines.back().rect.maxY()};
    // Letters lean out of their box a little, and that is as it should be.
    const double tolerance = 0.4 * options.font.size;
    const Rect allowed = {{-tolerance, -tolerance},
                          {size_.width + 2 * tolerance, size_.height + 2 * tolerance}};
    for (const auto& line : lines) {
        PangoRectangle ink;
        pango_layout_line_get_extents(line.line, &ink, nullptr);
        const auto x = line.rect.minX() + points(ink.x);
        const auto y = line.baseline + points(ink.y);
        if (x < allowed.minX() || y < allowed.minY() || x + points(ink.width) > allowed.maxX() ||
            y + points(ink.height) > allowed.maxY())
            isOverflowing_ = true;
    }
}

void PangoTextLayout::addLines(const Part& part, double top) {
    const handles::LineIterator iterator(pango_layout_get_iter(part.layout.get()));
    for (int count = 0; count < part.lineCount; ++count) {
        PangoRectangle extents;
        pango_layout_iter_get_line_extents(iterator.get(), nullptr, &extents);
        Line line;
        line.line = pango_layout_iter_get_line_readonly(iterator.get());
        const auto begin = static_cast<std::size_t>(line.line->start_index);
        const auto end = begin + static_cast<std::size_t>(line.line->length);
        line.partBegin = part.begin;
        line.begin = part.begin + std::min(begin, part.length);
        line.end = part.begin + std::min(end, part.length);
        line.rect = rectOf(extents, top);
        line.baseline = points(pango_layout_iter_get_baseline(iterator.get())) + top;
        if (lacksFont(line.line)) setWithoutFont(line, top + count * heightWithoutFont);
        lines.push_back(line);
        if (!pango_layout_iter_next_line(iterator.get())) return;
    }
}

void PangoTextLayout::setWithoutFont(Line& line, double top) {
    // Pango 1.50 leaves the height and the places of such a line to chance, but for the widths of the
    // letters.
    double width = 0;
    for (const double each : letterWidths(line.line)) width += each;
    line.rect = {{0, top}, {width, heightWithoutFont}};
    line.baseline = top + heightWithoutFont;
}

void PangoTextLayout::drawWithoutFont(const Line& line, cairo_t* context) {
    constexpr double gap = 1.5;
    double x = line.rect.minX();
    cairo_set_line_width(context, 1);
    for (const double width : letterWidths(line.line)) {
        if (width > 2 * gap) {
            cairo_rectangle(context, x + gap, line.rect.minY() + gap, width - 2 * gap,
                            line.rect.size.height - 2 * gap);
        }
        x += width;
    }
    cairo_stroke(context);
}

const PangoTextLayout::Line& PangoTextLayout::lineOf(std::size_t offset) const {
    const auto next = std::upper_bound(lines.begin(), lines.end(), offset,
                                       [](std::size_t at, const Line& line) { return at < line.begin; });
    return next == lines.begin() ? lines.front() : *(next - 1);
}

double PangoTextLayout::xIn(const Line& line, std::size_t offset) const {
    // Behind the last letter the line's direction counts, not the letter's.
    if (offset >= line.end)
        return line.line->resolved_dir == PANGO_DIRECTION_RTL ? line.rect.minX() : line.rect.maxX();
    int x = 0;
    const auto index = std::max(offset, line.begin) - line.partBegin;
    pango_layout_line_index_to_x(line.line, static_cast<int>(index), FALSE, &x);
    return line.rect.minX() + points(x);
}

Rect PangoTextLayout::caret(std::size_t offset) const {
    const auto& line = lineOf(offset);
    return {{xIn(line, offset), line.rect.minY()}, {0, line.rect.size.height}};
}

std::size_t PangoTextLayout::offsetAt(Point point) const {
    const auto below = std::find_if(lines.begin(), lines.end(),
                                    [&](const Line& line) { return point.y < line.rect.maxY(); });
    const auto& line = below == lines.end() ? lines.back() : *below;
    const auto width = std::max(1.0, line.rect.size.width);
    const auto x = std::clamp(point.x - line.rect.minX(), -1.0, width + 1);
    int index = 0;
    int trailing = 0;
    pango_layout_line_x_to_index(line.line, pango_units_from_double(x), &index, &trailing);
    const char* text = pango_layout_get_text(line.line->layout);
    const char* place = text + index;
    for (; trailing > 0 && *place; --trailing) place = g_utf8_next_char(place);
    return std::clamp(line.partBegin + static_cast<std::size_t>(place - text), line.begin, line.end);
}

std::vector<Rect> PangoTextLayout::areas(std::size_t begin, std::size_t end) const {
    std::vector<Rect> areas;
    for (const auto& line : lines) {
        const auto from = std::max(begin, line.begin);
        const auto to = std::min(end, line.end);
        if (from >= to) continue;
        int* found = nullptr;
        int count = 0;
        pango_layout_line_get_x_ranges(line.line, static_cast<int>(from - line.partBegin),
                                       static_cast<int>(to - line.partBegin), &found, &count);
        const handles::Ranges ranges(found);
        const auto first = areas.size();
        for (int each = 0; each < count; ++each) {
            const double left = points(found[2 * each]) - line.shift;
            const double right = points(found[2 * each + 1]) - line.shift;
            areas.push_back({{left, line.rect.minY()}, {right - left, line.rect.size.height}});
        }
        std::sort(areas.begin() + static_cast<std::ptrdiff_t>(first), areas.end(),
                  [](const Rect& a, const Rect& b) { return a.minX() < b.minX(); });
    }
    return areas;
}

void PangoTextLayout::draw(cairo_t* context) const {
    for (const auto& line : lines) {
        if (lacksFont(line.line)) {
            drawWithoutFont(line, context);
            continue;
        }
        cairo_move_to(context, line.rect.minX(), line.baseline);
        pango_cairo_show_layout_line(context, line.line);
    }
}

}  // namespace vellumix::view
