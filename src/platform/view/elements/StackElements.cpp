#include <algorithm>
#include <cmath>
#include <numeric>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

enum class Axis { horizontal, vertical };

double along(Axis axis, const Size& size) { return axis == Axis::horizontal ? size.width : size.height; }
double across(Axis axis, const Size& size) { return axis == Axis::horizontal ? size.height : size.width; }
Proposal proposalOf(Axis axis, std::optional<double> main, std::optional<double> cross) {
    return axis == Axis::horizontal ? Proposal{main, cross} : Proposal{cross, main};
}

/// The views under an element that were given as a list.
class Container : public Element {
public:
    explicit Container(std::vector<View> views) : views(std::move(views)) {}
    void children(Node&, ChildList& list) const override {
        for (const auto& view : views) list.add(view);
    }
    double layoutPriority(const Node&) const override { return 0; }

private:
    std::vector<View> views;
};

class StackElement : public Container {
public:
    StackElement(Axis axis, Spacing spacing, Alignment alignment, std::vector<View> views)
        : Container(std::move(views)), axis_(axis), spacing(spacing.points), alignment(alignment) {}

    const char* name() const override { return axis_ == Axis::horizontal ? "HStack" : "VStack"; }
    Axis axis() const { return axis_; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto offers = offersFor(node, proposal, pass);
        double main = 0;
        double cross = 0;
        for (std::size_t at = 0; at < offers.size(); ++at) {
            const auto size = node.children[at]->measure(offers[at], pass);
            main += along(axis_, size);
            cross = std::max(cross, across(axis_, size));
        }
        if (offers.size() > 1) main += spacing * static_cast<double>(offers.size() - 1);
        return axis_ == Axis::horizontal ? Size{main, cross} : Size{cross, main};
    }

    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto offers = offersFor(node, proposal, pass);
        const double room = across(axis_, node.target.size);
        const double part = axis_ == Axis::horizontal ? alignment.vertical : alignment.horizontal;
        double main = 0;
        for (std::size_t at = 0; at < offers.size(); ++at) {
            auto& child = *node.children[at];
            const auto size = child.measure(offers[at], pass);
            const double cross = (room - across(axis_, size)) * part;
            pass.place(node, child, axis_ == Axis::horizontal ? Point{main, cross} : Point{cross, main},
                       offers[at]);
            main += along(axis_, size) + spacing;
        }
    }

private:
    struct Share {
        std::size_t child = 0;
        double least = 0;
        double most = 0;
        double priority = 0;
    };

    /// The least flexible choose first, each from an equal part of what is left, so that those which could
    /// take everything get what nobody else needs.
    std::vector<Proposal> offersFor(Node& node, const Proposal& proposal, LayoutPass& pass) const {
        const auto main = axis_ == Axis::horizontal ? proposal.width : proposal.height;
        const auto cross = axis_ == Axis::horizontal ? proposal.height : proposal.width;
        std::vector<Proposal> offers(node.children.size(), proposalOf(axis_, main, cross));
        if (!main || !std::isfinite(*main)) return offers;
        std::vector<Share> shares(offers.size());
        double reserved = 0;
        for (std::size_t at = 0; at < shares.size(); ++at) {
            auto& child = *node.children[at];
            const double least = along(axis_, child.measure(proposalOf(axis_, 0, cross), pass));
            const double most = along(axis_, child.measure(proposalOf(axis_, unbounded, cross), pass));
            shares[at] = {at, least, most, child.element->layoutPriority(child)};
            reserved += least;
        }
        std::stable_sort(shares.begin(), shares.end(), [](const Share& a, const Share& b) {
            if (a.priority != b.priority) return a.priority > b.priority;
            return a.most - a.least < b.most - b.least;
        });
        double free = *main;
        if (!offers.empty()) free -= spacing * static_cast<double>(offers.size() - 1);
        for (std::size_t begin = 0; begin < shares.size();) {
            auto end = begin;
            for (; end < shares.size() && shares[end].priority == shares[begin].priority; ++end) {
                reserved -= shares[end].least;
            }
            for (; begin < end; ++begin) {
                const double part = std::max(0.0, (free - reserved) / static_cast<double>(end - begin));
                auto& offer = offers[shares[begin].child];
                offer = proposalOf(axis_, part, cross);
                free -= along(axis_, node.children[shares[begin].child]->measure(offer, pass));
            }
        }
        return offers;
    }

    Axis axis_;
    double spacing;
    Alignment alignment;
};

/// The rows of a list where no stack takes them apart stand under each other.
class ForEachElement final : public StackElement {
public:
    explicit ForEachElement(RowSource source)
        : StackElement(Axis::vertical, Spacing(0), Alignment::topLeading(), {}), source(std::move(source)) {}
    const char* name() const override { return "ForEach"; }
    const RowSource* rows() const override { return &source; }
    void children(Node&, ChildList& list) const override {
        list.add(View(std::make_shared<const ForEachElement>(source)));
    }

private:
    RowSource source;
};

class LayersElement final : public Container {
public:
    LayersElement(Alignment alignment, std::vector<View> views)
        : Container(std::move(views)), alignment(alignment) {}
    const char* name() const override { return "ZStack"; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        Size largest;
        for (const auto& child : node.children) {
            const auto size = child->measure(proposal, pass);
            largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
        }
        return largest;
    }
    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        for (const auto& child : node.children) {
            const auto size = child->measure(proposal, pass);
            pass.place(node, *child,
                       {(node.target.size.width - size.width) * alignment.horizontal,
                        (node.target.size.height - size.height) * alignment.vertical},
                       proposal);
        }
    }

private:
    Alignment alignment;
};

/// The direction of the row or column that a view stands in; none outside of both.
std::optional<Axis> axisAround(const Node& node) {
    for (const auto* at = node.parent; at; at = at->parent) {
        if (const auto* stack = dynamic_cast<const StackElement*>(at->element.get())) return stack->axis();
    }
    return std::nullopt;
}

class SpacerElement final : public Element {
public:
    explicit SpacerElement(double minimum) : minimum(minimum) {}
    const char* name() const override { return "Spacer"; }
    Size measure(Node& node, const Proposal& proposal, LayoutPass&) const override {
        const auto taken = [this](std::optional<double> offered) {
            return std::max(minimum, offered.value_or(minimum));
        };
        const auto axis = axisAround(node);
        return {axis == Axis::vertical ? 0 : taken(proposal.width),
                axis == Axis::horizontal ? 0 : taken(proposal.height)};
    }

private:
    double minimum;
};

class MemoElement final : public Element {
public:
    MemoElement(std::function<View()> make, std::shared_ptr<const ComparedValue> values)
        : make(std::move(make)), values(std::move(values)) {}
    const char* name() const override { return "Memo"; }
    void children(Node&, ChildList& list) const override { list.add(make()); }
    bool repeats(const Element& before) const override {
        const auto* same = dynamic_cast<const MemoElement*>(&before);
        return same && values->equals(*same->values);
    }

private:
    std::function<View()> make;
    std::shared_ptr<const ComparedValue> values;
};

class DividerElement final : public Element {
public:
    explicit DividerElement(const Color& color) : color(color) {}
    const char* name() const override { return "Divider"; }
    Size measure(Node& node, const Proposal& proposal, LayoutPass&) const override {
        constexpr double thickness = 1;
        if (axisAround(node) == Axis::horizontal) return {thickness, proposal.height.value_or(thickness)};
        return {proposal.width.value_or(thickness), thickness};
    }
    void record(Node& node, Recorder& recorder) const override {
        recorder.add(draw::Fill{node.drawn, Rectangle(), color});
    }

private:
    Color color;
};

}  // namespace

HStack::HStack(Spacing spacing, Alignment alignment, std::vector<View> children)
    : View(std::make_shared<const StackElement>(Axis::horizontal, spacing, alignment, std::move(children))) {}
VStack::VStack(Spacing spacing, Alignment alignment, std::vector<View> children)
    : View(std::make_shared<const StackElement>(Axis::vertical, spacing, alignment, std::move(children))) {}
ZStack::ZStack(Alignment alignment, std::vector<View> children)
    : View(std::make_shared<const LayersElement>(alignment, std::move(children))) {}
View Memo::memo(std::function<View()> make, std::shared_ptr<const ComparedValue> values) {
    return View(std::make_shared<const MemoElement>(std::move(make), std::move(values)));
}
ForEach::ForEach(const RowSource& rows) : View(std::make_shared<const ForEachElement>(rows)) {}
Spacer::Spacer(double minimum) : View(std::make_shared<const SpacerElement>(minimum)) {}
Divider::Divider(const Color& color) : View(std::make_shared<const DividerElement>(color)) {}

}  // namespace vellumix::view
