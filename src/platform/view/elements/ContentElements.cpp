#include <cmath>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Symbols.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

struct Tint final : NodeData {
    Animated<Color> color;
};

class TextElement final : public Element {
public:
    explicit TextElement(String text) : text(std::move(text)) {}

    const char* name() const override { return "Text"; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        // How narrow it may become is asked often, and setting a long text in single letters is dear.
        if (proposal.width && *proposal.width <= 0) return {};
        const auto size = set(node, proposal, pass)->size();
        return {pass.roundedUp(size.width), pass.roundedUp(size.height)};
    }

    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        auto& data = node.data<Data>();
        data.layout = set(node, proposal, pass);
        pass.move(data.color, node.environment->foreground);
    }

    void record(Node& node, Recorder& recorder) const override {
        const auto& data = node.data<Data>();
        if (!text.empty() && data.layout) {
            recorder.add(draw::Text{node.drawn.origin, data.layout, data.color.at(recorder.now())});
        }
    }

    bool isSolid() const override { return true; }

    std::optional<SetText> setText(const Node& node) const override {
        const auto* data = node.dataIfAny<Data>();
        if (!data || !data->layout) return std::nullopt;
        return SetText{text, data->layout, node.drawn.origin};
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        SemanticNode text;
        text.role = Role::text;
        text.label = this->text;
        text.frame = node.visible;
        into.push_back(std::move(text));
    }

private:
    struct Data final : NodeData {
        Animated<Color> color;
        std::shared_ptr<const TextLayout> layout;
        /// What `last` was set from.
        String text;
        TextOptions options;
        std::shared_ptr<const TextLayout> last;
    };

    std::shared_ptr<const TextLayout> set(Node& node, const Proposal& proposal, LayoutPass& pass) const {
        auto& data = node.data<Data>();
        const auto& environment = *node.environment;
        const TextOptions options{environment.font, std::max(0.0, proposal.width.value_or(unbounded)),
                                  environment.lineLimit, environment.textAlignment};
        const auto& before = data.options;
        const bool isKnown = data.last && data.text == text && before.font == options.font &&
                             before.maximumWidth == options.maximumWidth &&
                             before.lineLimit == options.lineLimit && before.alignment == options.alignment;
        if (!isKnown) {
            data.text = text;
            data.options = options;
            data.last = pass.texts.set(text, options);
        }
        return data.last;
    }

    String text;
};

class SymbolElement final : public Element {
public:
    explicit SymbolElement(std::string name) : name_(std::move(name)) {
        // Told where a view asks for it, whether or not it is ever painted.
        symbolOutlines(name_);
    }

    const char* name() const override { return "Symbol"; }

    Size measure(Node& node, const Proposal&, LayoutPass& pass) const override {
        const double side = pass.roundedUp(node.environment->font.size * sideOfSize);
        return {side, side};
    }
    void place(Node& node, const Proposal&, LayoutPass& pass) const override {
        pass.move(node.data<Tint>().color, node.environment->foreground);
    }
    void record(Node& node, Recorder& recorder) const override {
        recorder.add(draw::Symbol{node.drawn, name_, node.data<Tint>().color.at(recorder.now()),
                                  node.environment->font.weight});
    }
    bool isSolid() const override { return true; }

private:
    /// A symbol stands a little above and below the capitals beside it.
    static constexpr double sideOfSize = 1.2;

    std::string name_;
};

class ImageElement final : public Element {
public:
    ImageElement(std::shared_ptr<const Bitmap> bitmap, Image::Scaling scaling)
        : bitmap(std::move(bitmap)), scaling(scaling) {}

    const char* name() const override { return "Image"; }

    Size measure(Node&, const Proposal& proposal, LayoutPass&) const override {
        if (!isDrawable()) return {};
        const double width = bitmap->width;
        const double height = bitmap->height;
        const double offeredWidth = proposal.width.value_or(unbounded);
        const double offeredHeight = proposal.height.value_or(unbounded);
        if (scaling == Image::Scaling::fill) {
            return {proposal.width ? offeredWidth : width, proposal.height ? offeredHeight : height};
        }
        const double factor = std::min(offeredWidth / width, offeredHeight / height);
        return std::isfinite(factor) ? Size{width * factor, height * factor} : Size{width, height};
    }

    void record(Node& node, Recorder& recorder) const override {
        if (!isDrawable() || node.drawn.isEmpty()) return;
        if (scaling == Image::Scaling::fit) {
            recorder.add(draw::Image{node.drawn, bitmap});
            return;
        }
        const auto& box = node.drawn.size;
        const double factor = std::max(box.width / bitmap->width, box.height / bitmap->height);
        const Size size{bitmap->width * factor, bitmap->height * factor};
        const auto centre = node.drawn.centre();
        recorder.clipped(node.drawn, Rectangle(), [&] {
            recorder.add(
                draw::Image{{{centre.x - size.width / 2, centre.y - size.height / 2}, size}, bitmap});
        });
    }
    bool isSolid() const override { return true; }

private:
    bool isDrawable() const { return bitmap && bitmap->width > 0 && bitmap->height > 0; }

    std::shared_ptr<const Bitmap> bitmap;
    Image::Scaling scaling;
};

class ShapeElement final : public Element {
public:
    ShapeElement(const Shape& shape, std::optional<Color> fill, std::optional<Outline> outline)
        : shape(shape), fill(fill), outline(outline) {}

    const char* name() const override { return "Shape"; }

    Size measure(Node&, const Proposal& proposal, LayoutPass&) const override {
        constexpr double own = 10;
        return {proposal.width.value_or(own), proposal.height.value_or(own)};
    }
    void place(Node& node, const Proposal&, LayoutPass& pass) const override {
        auto& data = node.data<Data>();
        pass.move(data.fill, fill.value_or(node.environment->foreground));
        // An outline that comes or goes does so by its colour.
        pass.move(data.stroke, outline ? outline->color : Color::clear());
        pass.move(data.width, outline ? outline->width : data.width.target());
    }
    void record(Node& node, Recorder& recorder) const override {
        const auto& data = node.data<Data>();
        const auto fill = data.fill.at(recorder.now());
        const auto stroke = data.stroke.at(recorder.now());
        if (fill.alpha > 0) recorder.add(draw::Fill{node.drawn, shape, fill});
        if (stroke.alpha > 0) {
            recorder.add(draw::Stroke{node.drawn, shape, stroke, data.width.at(recorder.now())});
        }
    }
    bool isSolid() const override { return !fill || fill->alpha > 0; }

private:
    struct Data final : NodeData {
        Animated<Color> fill;
        Animated<Color> stroke;
        Animated<double> width;
    };

    Shape shape;
    std::optional<Color> fill;
    std::optional<Outline> outline;
};

}  // namespace

Text::Text(String text) : View(std::make_shared<const TextElement>(std::move(text))) {}
Symbol::Symbol(std::string name) : View(std::make_shared<const SymbolElement>(std::move(name))) {}
Image::Image(std::shared_ptr<const Bitmap> bitmap, Scaling scaling)
    : View(std::make_shared<const ImageElement>(std::move(bitmap), scaling)) {}
ShapeView::ShapeView(const Shape& shape, std::optional<Color> fill, std::optional<Outline> outline)
    : View(std::make_shared<const ShapeElement>(shape, fill, outline)) {}

}  // namespace vellumix::view
