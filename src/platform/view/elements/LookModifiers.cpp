#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/tree/TransitionElement.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

class ClipElement final : public Wrapper {
public:
    ClipElement(View content, const Shape& shape) : Wrapper(std::move(content)), shape(shape) {}
    const char* name() const override { return "Clip"; }
    void record(Node& node, Recorder& recorder) const override {
        recorder.clipped(node.drawn, shape, [&] { recorder.recordChildren(node); });
    }

private:
    Shape shape;
};

class ShadowElement final : public Wrapper {
public:
    ShadowElement(View content, const ShadowStyle& style) : Wrapper(std::move(content)), style(style) {}
    const char* name() const override { return "Shadow"; }
    void record(Node& node, Recorder& recorder) const override {
        recorder.add(draw::Shadow{node.drawn, style.shape, style.color, style.offset, style.radius});
        recorder.recordChildren(node);
    }

private:
    ShadowStyle style;
};

/// Opacity, scale and rotation, which change nothing about layout.
class LayerElement final : public Wrapper {
public:
    struct Look {
        double opacity = 1;
        double scale = 1;
        double rotation = 0;
    };
    LayerElement(View content, const Look& look) : Wrapper(std::move(content)), look(look) {}
    const char* name() const override { return "Layer"; }

    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        auto& data = node.data<Data>();
        pass.move(data.opacity, look.opacity);
        pass.move(data.scale, look.scale);
        pass.move(data.rotation, look.rotation);
        Wrapper::place(node, proposal, pass);
    }
    void record(Node& node, Recorder& recorder) const override {
        const auto& data = node.data<Data>();
        const double opacity = std::clamp(data.opacity.at(recorder.now()), 0.0, 1.0);
        const double scale = data.scale.at(recorder.now());
        const double rotation = data.rotation.at(recorder.now());
        if (opacity == 1 && scale == 1 && rotation == 0) {
            recorder.recordChildren(node);
            return;
        }
        recorder.add(draw::PushLayer{opacity, scale, node.drawn.centre(), rotation});
        recorder.recordChildren(node);
        recorder.add(draw::Pop{});
    }

private:
    struct Data final : NodeData {
        Animated<double> opacity{1};
        Animated<double> scale{1};
        Animated<double> rotation{0};
    };
    Look look;
};

View layered(const View& content, const LayerElement::Look& look) {
    return View(std::make_shared<const LayerElement>(content, look));
}

template <class Change>
class EnvironmentElement final : public Wrapper {
public:
    EnvironmentElement(View content, Change change)
        : Wrapper(std::move(content)), change(std::move(change)) {}
    const char* name() const override { return "Environment"; }
    bool changesEnvironment() const override { return true; }
    void environment(Environment& environment) const override { change(environment); }

private:
    Change change;
};

template <class Change>
View changing(const View& content, Change change) {
    return View(std::make_shared<const EnvironmentElement<Change>>(content, std::move(change)));
}

class AnimationElement final : public Wrapper {
public:
    AnimationElement(View content, const Curve& curve, std::shared_ptr<const ComparedValue> values)
        : Wrapper(std::move(content)), curve(curve), values(std::move(values)) {}
    const char* name() const override { return "Animation"; }
    std::optional<Curve> animation(const Element& before) const override {
        const auto* same = dynamic_cast<const AnimationElement*>(&before);
        return same && !values->equals(*same->values) ? std::optional(curve) : std::nullopt;
    }

private:
    Curve curve;
    std::shared_ptr<const ComparedValue> values;
};

class ReactionElement final : public Wrapper {
public:
    ReactionElement(View content, std::shared_ptr<const ComparedValue> value, Action action)
        : Wrapper(std::move(content)), value_(std::move(value)), action(std::move(action)) {}
    const char* name() const override { return "OnChange"; }
    Action reaction(const Element& before) const override {
        const auto* same = dynamic_cast<const ReactionElement*>(&before);
        return same && !value_->equals(*same->value_) ? action : nullptr;
    }

private:
    std::shared_ptr<const ComparedValue> value_;
    Action action;
};

class ReceivingElement final : public Wrapper {
public:
    ReceivingElement(View content, std::string notification, Action action)
        : Wrapper(std::move(content)), notification(std::move(notification)), action(std::move(action)) {}
    const char* name() const override { return "OnReceive"; }
    void children(Node& node, ChildList& list) const override {
        Wrapper::children(node, list);
        auto& data = node.data<Data>();
        data.observation = NotificationCenter::defaultCenter().observe(
            notification, [action = this->action](const auto&) { action(); });
    }

private:
    struct Data final : NodeData {
        Observation observation;
    };

    std::string notification;
    Action action;
};

class IdElement final : public Wrapper {
public:
    IdElement(View content, std::string id) : Wrapper(std::move(content)), id(std::move(id)) {}
    const char* name() const override { return "Id"; }
    std::string explicitId() const override { return id; }

private:
    std::string id;
};

}  // namespace

View View::clip(const Shape& shape) const { return View(std::make_shared<const ClipElement>(*this, shape)); }
View View::shadow(const ShadowStyle& style) const {
    return View(std::make_shared<const ShadowElement>(*this, style));
}
View View::opacity(double opacity) const { return layered(*this, {.opacity = opacity}); }
View View::scale(double scale) const { return layered(*this, {.scale = scale}); }
View View::rotation(double radians) const { return layered(*this, {.rotation = radians}); }

View View::foreground(const Color& color) const {
    return changing(*this, [color](Environment& environment) { environment.foreground = color; });
}
View View::font(const Font& font) const {
    return changing(*this, [font](Environment& environment) { environment.font = font; });
}
View View::italic() const {
    return changing(*this, [](Environment& environment) { environment.font.isItalic = true; });
}
View View::monospaced() const {
    return changing(*this,
                    [](Environment& environment) { environment.font.design = Font::Design::monospaced; });
}
View View::lineLimit(int lines) const {
    return changing(*this, [lines](Environment& environment) { environment.lineLimit = lines; });
}
View View::textAlignment(TextOptions::Alignment alignment) const {
    return changing(*this, [alignment](Environment& environment) { environment.textAlignment = alignment; });
}
View View::direction(LayoutDirection direction) const {
    return changing(*this, [direction](Environment& environment) { environment.direction = direction; });
}
View View::accent(const Color& color) const {
    return changing(*this, [color](Environment& environment) { environment.accent = color; });
}
View View::focusRing(std::optional<Shape> shape) const {
    return changing(*this, [shape](Environment& environment) { environment.focusRing = shape; });
}
View View::disabled(bool isDisabled) const {
    return changing(*this, [isDisabled](Environment& environment) {
        environment.isEnabled = environment.isEnabled && !isDisabled;
    });
}
View View::environmentValue(std::type_index type, std::shared_ptr<const void> value) const {
    return changing(*this, [type, value = std::move(value)](Environment& environment) {
        environment.values.insert_or_assign(type, value);
    });
}
View View::animationOf(const Curve& curve, std::shared_ptr<const ComparedValue> values) const {
    return View(std::make_shared<const AnimationElement>(*this, curve, std::move(values)));
}
View View::reactionTo(std::shared_ptr<const ComparedValue> value, Action action) const {
    return View(std::make_shared<const ReactionElement>(*this, std::move(value), std::move(action)));
}
View View::onReceive(std::string notification, Action action) const {
    return View(std::make_shared<const ReceivingElement>(*this, std::move(notification), std::move(action)));
}
View View::transition(const Transition& transition) const {
    return View(std::make_shared<const TransitionElement>(*this, transition));
}
View View::id(std::string id) const { return View(std::make_shared<const IdElement>(*this, std::move(id))); }

}  // namespace vellumix::view
