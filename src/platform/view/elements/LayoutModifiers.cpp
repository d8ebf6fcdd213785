#include <algorithm>
#include <cmath>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

Point aligned(const Size& inner, const Size& outer, const Alignment& alignment) {
    return {(outer.width - inner.width) * alignment.horizontal,
            (outer.height - inner.height) * alignment.vertical};
}

class PaddingElement final : public Wrapper {
public:
    PaddingElement(View content, const Insets& insets) : Wrapper(std::move(content)), insets(insets) {}
    const char* name() const override { return "Padding"; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto size = Wrapper::measure(node, inner(proposal), pass);
        return {size.width + insets.leading + insets.trailing, size.height + insets.top + insets.bottom};
    }
    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        if (node.children.empty()) return;
        pass.place(node, *node.children.front(), {insets.leading, insets.top}, inner(proposal));
    }

private:
    Proposal inner(const Proposal& proposal) const {
        const auto less = [](std::optional<double> offered, double by) -> std::optional<double> {
            if (!offered) return std::nullopt;
            return std::max(0.0, *offered - by);
        };
        return {less(proposal.width, insets.leading + insets.trailing),
                less(proposal.height, insets.top + insets.bottom)};
    }

    Insets insets;
};

/// The limits of one direction.
struct Extent {
    std::optional<double> fixed;
    std::optional<double> minimum;
    std::optional<double> maximum;

    std::optional<double> offer(std::optional<double> proposed) const {
        if (fixed) return fixed;
        // Where any extent will do, content of its own choice still keeps to the maximum.
        if (!proposed) return maximum && std::isfinite(*maximum) ? maximum : proposed;
        return std::max(minimum.value_or(0), std::min(*proposed, maximum.value_or(unbounded)));
    }
    double taken(std::optional<double> proposed, double content) const {
        if (fixed) return *fixed;
        const double least = minimum.value_or(0);
        if (!maximum || !proposed) return std::max(least, std::min(content, maximum.value_or(unbounded)));
        // Content that can't shrink to a room that fills is shown in full as far as the maximum goes.
        return std::max({least, std::min(*proposed, *maximum), minimum ? 0 : std::min(content, *maximum)});
    }
};

class FrameElement final : public Wrapper {
public:
    FrameElement(View content, const FrameLimits& limits)
        : Wrapper(std::move(content)),
          width{limits.width, limits.minimumWidth, limits.maximumWidth},
          height{limits.height, limits.minimumHeight, limits.maximumHeight},
          alignment(limits.alignment) {}
    const char* name() const override { return "Frame"; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto content = Wrapper::measure(node, inner(proposal), pass);
        return {width.taken(proposal.width, content.width), height.taken(proposal.height, content.height)};
    }
    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        if (node.children.empty()) return;
        auto& child = *node.children.front();
        const auto size = child.measure(inner(proposal), pass);
        pass.place(node, child, aligned(size, node.target.size, alignment), inner(proposal));
    }

private:
    Proposal inner(const Proposal& proposal) const {
        return {width.offer(proposal.width), height.offer(proposal.height)};
    }

    Extent width;
    Extent height;
    Alignment alignment;
};

/// A view with another behind or in front of it. The first in drawing order is the first child.
class DecorationElement final : public Element {
public:
    enum class Place { behind, inFront };
    DecorationElement(View content, View decoration, Place place, Alignment alignment)
        : content(std::move(content)),
          decoration(std::move(decoration)),
          place_(place),
          alignment(alignment) {}
    const char* name() const override { return place_ == Place::behind ? "Background" : "Overlay"; }

    void children(Node&, ChildList& list) const override {
        list.add(place_ == Place::behind ? decoration : content);
        list.add(place_ == Place::behind ? content : decoration);
    }
    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto* content = contentOf(node);
        return content ? (*content)->measure(proposal, pass) : Size();
    }
    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto* content = contentOf(node);
        for (const auto& child : node.children) {
            if (content && child == *content) {
                pass.place(node, *child, {}, proposal);
                continue;
            }
            const Proposal whole{node.target.size.width, node.target.size.height};
            const auto size = child->measure(whole, pass);
            pass.place(node, *child, aligned(size, node.target.size, alignment), whole);
        }
    }
    double layoutPriority(const Node& node) const override {
        const auto* content = contentOf(node);
        return content ? (*content)->element->layoutPriority(**content) : 0;
    }

private:
    const std::shared_ptr<Node>* contentOf(const Node& node) const {
        for (const auto& child : node.children) {
            if (child->element == content.element()) return &child;
        }
        return nullptr;
    }

    View content;
    View decoration;
    Place place_;
    Alignment alignment;
};

class PriorityElement final : public Wrapper {
public:
    PriorityElement(View content, double priority) : Wrapper(std::move(content)), priority(priority) {}
    const char* name() const override { return "Priority"; }
    double layoutPriority(const Node&) const override { return priority; }

private:
    double priority;
};

View decorated(const View& content, const View& decoration, DecorationElement::Place place,
               Alignment alignment) {
    return View(std::make_shared<const DecorationElement>(content, decoration, place, alignment));
}

}  // namespace

View View::padding(double all) const { return padding(Insets::all(all)); }
View View::padding(const Insets& insets) const {
    return View(std::make_shared<const PaddingElement>(*this, insets));
}
View View::padding(Edge edge, double by) const {
    const auto at = [&](Edge own, Edge both) {
        return edge == own || edge == both || edge == Edge::all ? by : 0;
    };
    return padding(Insets{at(Edge::top, Edge::vertical), at(Edge::leading, Edge::horizontal),
                          at(Edge::bottom, Edge::vertical), at(Edge::trailing, Edge::horizontal)});
}
View View::frame(const FrameLimits& limits) const {
    return View(std::make_shared<const FrameElement>(*this, limits));
}
View View::frame(double width, double height) const {
    return frame(FrameLimits{.width = width, .height = height});
}
View View::fillWidth(Alignment alignment) const {
    return frame(FrameLimits{.maximumWidth = unbounded, .alignment = alignment});
}
View View::fillHeight(Alignment alignment) const {
    return frame(FrameLimits{.maximumHeight = unbounded, .alignment = alignment});
}
View View::background(const View& behind, Alignment alignment) const {
    return decorated(*this, behind, DecorationElement::Place::behind, alignment);
}
View View::background(const Shape& shape, const Color& fill, std::optional<Outline> outline) const {
    return background(ShapeView(shape, fill, outline));
}
View View::overlay(const View& inFront, Alignment alignment) const {
    return decorated(*this, inFront, DecorationElement::Place::inFront, alignment);
}
View View::layoutPriority(double priority) const {
    return View(std::make_shared<const PriorityElement>(*this, priority));
}

}  // namespace vellumix::view
