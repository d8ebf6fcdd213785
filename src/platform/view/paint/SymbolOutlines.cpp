#include "platform/view/paint/SymbolOutlines.h"

namespace vellumix::view {

namespace {

void appendPath(cairo_t* context, const SymbolOutline& outline) {
    const auto* next = outline.numbers.data();
    for (const auto step : outline.steps) {
        const auto* at = next;
        switch (step) {
            case SymbolStep::move:
                cairo_move_to(context, at[0], at[1]);
                next += 2;
                break;
            case SymbolStep::line:
                cairo_line_to(context, at[0], at[1]);
                next += 2;
                break;
            case SymbolStep::curve:
                cairo_curve_to(context, at[0], at[1], at[2], at[3], at[4], at[5]);
                next += 6;
                break;
            case SymbolStep::arc:
                cairo_arc(context, at[0], at[1], at[2], at[3], at[4]);
                next += 5;
                break;
            case SymbolStep::arcBack:
                cairo_arc_negative(context, at[0], at[1], at[2], at[3], at[4]);
                next += 5;
                break;
            case SymbolStep::close:
                cairo_close_path(context);
                break;
        }
    }
}

}  // namespace

void drawSymbolOutlines(cairo_t* context, std::span<const SymbolOutline> outlines, double strokeWidth) {
    cairo_set_line_width(context, strokeWidth);
    cairo_set_line_cap(context, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(context, CAIRO_LINE_JOIN_ROUND);
    for (const auto& outline : outlines) {
        cairo_set_operator(context, outline.isCutOut ? CAIRO_OPERATOR_DEST_OUT : CAIRO_OPERATOR_OVER);
        cairo_new_path(context);
        appendPath(context, outline);
        if (outline.isFilled) cairo_fill_preserve(context);
        cairo_stroke(context);
    }
}

}  // namespace vellumix::view
