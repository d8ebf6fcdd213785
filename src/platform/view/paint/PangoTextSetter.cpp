#include "platform/view/paint/PangoTextSetter.h"

#include <algorithm>
#include <cmath>

namespace vellumix::view {

namespace {

constexpr std::string_view ellipsis = "\u2026";

handles::FontDescription description(const Font& font, const FontFamilies& families) {
    constexpr double smallest = 1;
    constexpr double largest = 512;
    handles::FontDescription description(pango_font_description_new());
    const auto& family = font.design == Font::Design::monospaced ? families.monospaced : families.system;
    pango_font_description_set_family(description.get(), family.c_str());
    pango_font_description_set_weight(description.get(), static_cast<PangoWeight>(font.weight));
    if (font.isItalic) pango_font_description_set_style(description.get(), PANGO_STYLE_ITALIC);
    // Written so that a size that is no number is the smallest.
    const double size = font.size > smallest ? std::min(font.size, largest) : smallest;
    pango_font_description_set_absolute_size(description.get(), std::round(size * PANGO_SCALE));
    return description;
}

/// -1 for a width that nothing reaches.
int pangoWidth(double width) {
    constexpr double widest = 1e6;
    if (!(width < widest)) return -1;
    // A box as wide as a text was measured must hold it, whatever was rounded on the way.
    return static_cast<int>(std::ceil(std::max(0.0, width) * PANGO_SCALE)) + 1;
}

/// Pango mirrors by itself where it finds the direction by itself.
PangoAlignment pangoAlignment(TextOptions::Alignment alignment, bool isMirrored) {
    switch (alignment) {
        case TextOptions::Alignment::leading:
            return isMirrored ? PANGO_ALIGN_RIGHT : PANGO_ALIGN_LEFT;
        case TextOptions::Alignment::centre:
            return PANGO_ALIGN_CENTER;
        case TextOptions::Alignment::trailing:
            return isMirrored ? PANGO_ALIGN_LEFT : PANGO_ALIGN_RIGHT;
    }
    return PANGO_ALIGN_LEFT;
}

std::size_t lineEnd(std::string_view text) {
    return std::min({text.find_first_of("\r\n"), text.find("\u2028"), text.find("\u2029")});
}

}  // namespace

PangoTextSetter::PangoTextSetter(FontFamilies families)
    : families(std::move(families)),
      fontMap(pango_cairo_font_map_new()),
      context(pango_font_map_create_context(fontMap.get())),
      rightToLeftContext(pango_font_map_create_context(fontMap.get())) {
    const handles::FontOptions options(cairo_font_options_create());
    cairo_font_options_set_antialias(options.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    for (auto* context : {this->context.get(), rightToLeftContext.get()}) {
        pango_cairo_context_set_font_options(context, options.get());
        pango_context_set_round_glyph_positions(context, FALSE);
    }
    pango_context_set_base_dir(rightToLeftContext.get(), PANGO_DIRECTION_RTL);
}

void PangoTextSetter::forget() {
    layouts.removeAllObjects();
    key = {};
}

std::shared_ptr<const TextLayout> PangoTextSetter::set(const String& text, const TextOptions& options) {
    const auto visible = visibleText(text, options, usualLetters);
    const auto layout = set(visible, options);
    if (!visible.isCutByLetters || layout->rest() == PangoTextLayout::Rest::isLeftOutFromNextLine) {
        return layout;
    }
    return set(visibleText(text, options, narrowestLetters), options);
}

std::shared_ptr<const PangoTextLayout> PangoTextSetter::set(const VisibleText& visible,
                                                            const TextOptions& options) {
    const auto& key = this->key.of(
        std::lround(options.font.size * PANGO_SCALE), static_cast<int>(options.font.weight),
        static_cast<int>(options.font.design), options.font.isItalic, pangoWidth(options.maximumWidth),
        options.lineLimit, static_cast<int>(options.alignment), visible.isCut, visible.text);
    if (auto known = layouts.objectForKey(key)) return known;
    auto layout = std::make_shared<const PangoTextLayout>(lines(visible, options));
    // Of glyphs, clusters and breaks, for each byte of the text.
    constexpr std::size_t layoutCost = 48;
    layouts.setObject(layout, key, layoutCost * key.size());
    return layout;
}

handles::Layout PangoTextSetter::layout(std::string_view text, const TextOptions& options,
                                        std::optional<PangoDirection> direction) {
    const bool isRightToLeft = direction == PANGO_DIRECTION_RTL;
    handles::Layout layout(pango_layout_new(isRightToLeft ? rightToLeftContext.get() : context.get()));
    pango_layout_set_font_description(layout.get(), description(options.font, families).get());
    pango_layout_set_width(layout.get(), pangoWidth(options.maximumWidth));
    pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
    pango_layout_set_auto_dir(layout.get(), !direction);
    pango_layout_set_alignment(layout.get(), pangoAlignment(options.alignment, isRightToLeft));
    // A hyphen at the break of a long word, or of an address, would be one that nobody wrote.
    const handles::Attributes attributes(pango_attr_list_new());
    pango_attr_list_insert(attributes.get(), pango_attr_insert_hyphens_new(FALSE));
    pango_layout_set_attributes(layout.get(), attributes.get());
    pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
    shapedCharacterCount_ += static_cast<std::uint64_t>(pango_layout_get_character_count(layout.get()));
    return layout;
}

PangoTextLayout PangoTextSetter::lines(const VisibleText& visible, const TextOptions& options) {
    using Rest = PangoTextLayout::Rest;
    // Pango counts the lines of each paragraph by itself, so the last line is set apart.
    std::vector<PangoTextLayout::Part> parts;
    auto body =
        layout(visible.isCut && options.lineLimit <= 0 ? visible.text + std::string(ellipsis) : visible.text,
               options);
    const int lineCount = pango_layout_get_line_count(body.get());
    const bool isWhole =
        options.lineLimit <= 0 || (lineCount <= options.lineLimit && !visible.isCut) || lineCount == 0;
    if (isWhole) {
        parts.push_back({std::move(body), lineCount, 0, visible.text.size()});
        return {std::move(parts), options, visible.isCut ? Rest::isLeftOut : Rest::none};
    }
    const auto* last = pango_layout_get_line_readonly(body.get(), std::min(lineCount, options.lineLimit) - 1);
    const auto begin = static_cast<std::size_t>(last->start_index);
    auto tail = lastLine(visible, begin, static_cast<PangoDirection>(last->resolved_dir), options);
    const int kept = std::min(lineCount, options.lineLimit) - 1;
    if (kept > 0) parts.push_back({std::move(body), kept, 0, begin});
    parts.push_back(std::move(tail));
    return {std::move(parts), options,
            lineCount > options.lineLimit ? Rest::isLeftOutFromNextLine : Rest::isLeftOut};
}

PangoTextLayout::Part PangoTextSetter::lastLine(const VisibleText& visible, std::size_t begin,
                                                PangoDirection direction, const TextOptions& options) {
    const auto rest = std::string_view(visible.text).substr(begin);
    const auto shown = rest.substr(0, lineEnd(rest));
    // Where more follows in other lines, or none of it was kept, Pango sees no reason for an ellipsis.
    const bool isFollowed = shown.size() < rest.size() || visible.isCut;
    auto tail = layout(isFollowed ? std::string(shown) + std::string(ellipsis) : std::string(shown), options,
                       direction);
    pango_layout_set_ellipsize(tail.get(), PANGO_ELLIPSIZE_END);
    pango_layout_set_single_paragraph_mode(tail.get(), TRUE);
    return {std::move(tail), 1, begin, shown.size()};
}

}  // namespace vellumix::view
