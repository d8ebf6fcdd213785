#include "platform/view/paint/CairoPainter.h"

#include <algorithm>
#include <cmath>

#include "platform/view/paint/CairoShape.h"
#include "platform/view/paint/PangoTextLayout.h"

namespace vellumix::view {

namespace {

/// Beyond it, cairo's fixed-point coordinates overflow.
constexpr double farthest = 4e6;

bool isPaintable(const Rect& rect) {
    // Written so that a value that is no number fails.
    return rect.minX() > -farthest && rect.minY() > -farthest && rect.maxX() < farthest &&
           rect.maxY() < farthest && rect.size.width > 0 && rect.size.height > 0;
}

Rect outset(const Rect& rect, double by) {
    return {{rect.origin.x - by, rect.origin.y - by}, {rect.size.width + 2 * by, rect.size.height + 2 * by}};
}

Rect scaledBy(const Rect& rect, double scale) {
    return {{rect.origin.x * scale, rect.origin.y * scale},
            {rect.size.width * scale, rect.size.height * scale}};
}

/// Whole edges, and at least one pixel between them.
Rect snapped(const Rect& rect) {
    const Point from{std::round(rect.minX()), std::round(rect.minY())};
    return {
        from,
        {std::max(1.0, std::round(rect.maxX()) - from.x), std::max(1.0, std::round(rect.maxY()) - from.y)}};
}

}  // namespace

/// One painting of one drawing. The context's units are device pixels.
class CairoPass {
public:
    CairoPass(CairoPainter& painter, cairo_t* context, double scale, const Rect& region)
        : painter(painter), context(context), scale(scale), visible(region) {}

    void run(const DrawingList& drawing) {
        for (std::size_t at = 0; at < drawing.size(); ++at) {
            if (isLoneCommandInLayer(drawing, at)) {
                // One thing needs no surface of its own to be seen through.
                opacity = std::clamp(std::get<draw::PushLayer>(drawing[at]).opacity, 0.0, 1.0);
                run(drawing[at + 1]);
                opacity = 1;
                at += 2;
            } else {
                run(drawing[at]);
            }
        }
        while (!open.empty()) pop();
    }

private:
    enum class Scope { hidden, clip, layer, group };
    struct Open {
        Scope scope = Scope::clip;
        double opacity = 1;
        Rect visible;
    };

    static bool isLoneCommandInLayer(const DrawingList& drawing, std::size_t at) {
        if (at + 2 >= drawing.size()) return false;
        const auto* layer = std::get_if<draw::PushLayer>(&drawing[at]);
        const auto& inside = drawing[at + 1];
        return layer && layer->scale == 1 && layer->rotation == 0 && layer->opacity > 0 &&
               std::holds_alternative<draw::Pop>(drawing[at + 2]) &&
               !std::holds_alternative<draw::Pop>(inside) &&
               !std::holds_alternative<draw::PushClip>(inside) &&
               !std::holds_alternative<draw::PushLayer>(inside);
    }

    void run(const draw::Command& command) {
        std::visit([this](const auto& each) { execute(each); }, command);
    }

    bool isHidden() const { return !open.empty() && open.back().scope == Scope::hidden; }
    bool isVisible(const Rect& pixels) const {
        return !isHidden() && isPaintable(pixels) && !pixels.intersection(visible).isEmpty();
    }
    void setColor(const Color& color) {
        cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha * opacity);
    }
    Shape scaled(Shape shape, double inset = 0) const {
        shape.radius = std::max(0.0, shape.radius * scale - inset);
        return shape;
    }
    /// A list's ground may be longer than what cairo can count; the sides that can't be seen come nearer.
    Rect pixelsOf(const Rect& rect, const Shape& shape) const {
        const Rect pixels = scaledBy(rect, scale);
        if (isPaintable(pixels) || shape.kind == Shape::Kind::ellipse) return pixels;
        const double away = 2 * std::min(shape.radius, farthest) * scale + 64;
        const Rect around = pixels.intersection(outset(visible, away));
        return around.isEmpty() ? pixels : around;
    }

    void execute(const draw::Fill& fill) {
        const Rect pixels = pixelsOf(fill.rect, fill.shape);
        if (!isVisible(outset(pixels, 1)) || pixels.isEmpty() || fill.color.alpha <= 0) return;
        appendShape(context, snapped(pixels), scaled(fill.shape));
        setColor(fill.color);
        cairo_fill(context);
    }

    void execute(const draw::Stroke& stroke) {
        const Rect pixels = pixelsOf(stroke.rect, stroke.shape);
        if (!(stroke.width > 0) || !(stroke.width * scale < farthest) || stroke.color.alpha <= 0) return;
        const double width = std::max(1.0, std::round(stroke.width * scale));
        if (!isVisible(outset(pixels, width + 1)) || pixels.isEmpty()) return;
        // Inside of its rectangle, so that what is outlined is as large by any width of the line.
        const double inset = width / 2;
        Rect outline = snapped(pixels);
        // A line that fills its rectangle is the rectangle.
        if (outline.size.width <= width || outline.size.height <= width)
            return execute(draw::Fill{stroke.rect, stroke.shape, stroke.color});
        outline = outline.inset(inset);
        appendShape(context, outline, scaled(stroke.shape, inset));
        setColor(stroke.color);
        cairo_set_line_width(context, width);
        cairo_stroke(context);
    }

    void execute(const draw::Shadow& shadow) {
        const double radius = std::max(0.0, shadow.radius) * scale;
        constexpr double largestRadius = 512;
        if (!(radius < largestRadius) || shadow.color.alpha <= 0) return;
        Rect pixels = scaledBy(shadow.rect, scale);
        pixels.origin = pixels.origin + Point{shadow.offset.x * scale, shadow.offset.y * scale};
        const double deviation = radius / 2;
        if (!isVisible(outset(pixels, CairoShadow::margin(deviation) + 1)) || pixels.isEmpty()) return;
        auto color = shadow.color;
        color.alpha *= opacity;
        painter.shadows.paint(context, snapped(pixels), scaled(shadow.shape), deviation, color);
    }

    void execute(const draw::Text& text) {
        const auto* layout = dynamic_cast<const PangoTextLayout*>(text.layout.get());
        if (!layout) return;
        const Rect box{text.origin, layout->size()};
        // Letters lean out of their box by less than a line.
        if (!isVisible(outset(scaledBy(box, scale), (layout->baseline() + 1) * scale))) return;
        cairo_save(context);
        cairo_translate(context, std::round(text.origin.x * scale), std::round(text.origin.y * scale));
        cairo_scale(context, scale, scale);
        if (layout->isOverflowing()) {
            cairo_rectangle(context, 0, 0, box.size.width, box.size.height);
            cairo_clip(context);
        }
        setColor(text.color);
        layout->draw(context);
        cairo_restore(context);
    }

    void execute(const draw::Symbol& symbol) {
        const Rect pixels = scaledBy(symbol.rect, scale);
        if (!isVisible(outset(pixels, 1))) return;
        const double side = std::round(std::min(pixels.size.width, pixels.size.height));
        constexpr double largestSide = 1024;
        if (!(side >= 1 && side <= largestSide)) return;
        const auto mask =
            painter.symbols.mask(symbol.name, static_cast<int>(side), side / scale, symbol.weight);
        if (!mask) return;
        setColor(symbol.color);
        cairo_mask_surface(context, mask->get(), std::round(pixels.centre().x - side / 2),
                           std::round(pixels.centre().y - side / 2));
    }

    void execute(const draw::Image& image) {
        const Rect pixels = scaledBy(image.rect, scale);
        const double opacity = image.opacity * this->opacity;
        if (!isVisible(outset(pixels, 1)) || !(opacity > 0)) return;
        const Rect place = snapped(pixels);
        const auto copy = painter.images.scaled(image.bitmap, static_cast<int>(place.size.width),
                                                static_cast<int>(place.size.height));
        if (!copy) return;
        cairo_save(context);
        cairo_rectangle(context, place.minX(), place.minY(), place.size.width, place.size.height);
        cairo_clip(context);
        cairo_translate(context, place.minX(), place.minY());
        cairo_scale(context, place.size.width / cairo_image_surface_get_width(copy->get()),
                    place.size.height / cairo_image_surface_get_height(copy->get()));
        cairo_set_source_surface(context, copy->get(), 0, 0);
        cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
        cairo_paint_with_alpha(context, std::min(1.0, opacity));
        cairo_restore(context);
    }

    void execute(const draw::PushClip& clip) {
        const Rect pixels = pixelsOf(clip.rect, clip.shape);
        if (!isVisible(pixels)) return push(Scope::hidden);
        push(Scope::clip);
        cairo_save(context);
        appendShape(context, snapped(pixels), scaled(clip.shape));
        cairo_clip(context);
        visible = visible.intersection(snapped(pixels));
    }

    void execute(const draw::PushLayer& layer) {
        const double opacity = std::clamp(layer.opacity, 0.0, 1.0);
        const bool isSound = layer.scale > 0 && layer.scale < farthest && opacity > 0 &&
                             std::abs(layer.rotation) < farthest && std::abs(layer.centre.x) < farthest &&
                             std::abs(layer.centre.y) < farthest;
        if (!isSound || isHidden()) return push(Scope::hidden);
        push(opacity < 1 ? Scope::group : Scope::layer, opacity);
        cairo_save(context);
        if (opacity < 1) cairo_push_group(context);
        if (layer.scale == 1 && layer.rotation == 0) return;
        const Point centre{layer.centre.x * scale, layer.centre.y * scale};
        cairo_translate(context, centre.x, centre.y);
        cairo_scale(context, layer.scale, layer.scale);
        cairo_rotate(context, layer.rotation);
        cairo_translate(context, -centre.x, -centre.y);
        visible = {{(visible.minX() - centre.x) / layer.scale + centre.x,
                    (visible.minY() - centre.y) / layer.scale + centre.y},
                   {visible.size.width / layer.scale, visible.size.height / layer.scale}};
        if (layer.rotation == 0) return;
        // Whatever the angle, what can be seen lies within this distance of the centre.
        const double reach =
            std::hypot(std::max(std::abs(visible.minX() - centre.x), std::abs(visible.maxX() - centre.x)),
                       std::max(std::abs(visible.minY() - centre.y), std::abs(visible.maxY() - centre.y)));
        visible = outset({centre, {}}, reach);
    }

    void execute(const draw::Pop&) {
        if (!open.empty()) pop();
    }

    void push(Scope scope, double opacity = 1) { open.push_back({scope, opacity, visible}); }

    void pop() {
        const auto open = this->open.back();
        this->open.pop_back();
        visible = open.visible;
        if (open.scope == Scope::hidden) return;
        if (open.scope == Scope::group) {
            cairo_pop_group_to_source(context);
            cairo_paint_with_alpha(context, open.opacity);
        }
        cairo_restore(context);
    }

    CairoPainter& painter;
    cairo_t* context;
    double scale;
    /// In the context's units, which a layer may have scaled.
    Rect visible;
    double opacity = 1;
    std::vector<Open> open;
};

void CairoPainter::paint(const DrawingList& drawing, CairoSurface& surface, double scale,
                         const Rect& region) {
    constexpr double largestScale = 16;
    if (!(scale > 0 && scale <= largestScale)) return;
    const Rect whole{{0, 0}, {static_cast<double>(surface.width()), static_cast<double>(surface.height())}};
    const Rect wanted = scaledBy(region, scale);
    const Point from{std::floor(wanted.minX()), std::floor(wanted.minY())};
    const Rect pixels =
        Rect{from, {std::ceil(wanted.maxX()) - from.x, std::ceil(wanted.maxY()) - from.y}}.intersection(
            whole);
    if (!isPaintable(pixels)) return;
    const handles::Context context(cairo_create(surface.handle()));
    cairo_rectangle(context.get(), pixels.minX(), pixels.minY(), pixels.size.width, pixels.size.height);
    cairo_clip(context.get());
    cairo_set_operator(context.get(), CAIRO_OPERATOR_CLEAR);
    cairo_paint(context.get());
    cairo_set_operator(context.get(), CAIRO_OPERATOR_OVER);
    CairoPass(*this, context.get(), scale, pixels).run(drawing);
    cairo_surface_flush(surface.handle());
}

}  // namespace vellumix::view
