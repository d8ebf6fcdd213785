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
    explicit Container(std::vector<View> views) : _views(std::move(views)) {}
    void children(Node&, ChildList& list) const override {
        for (const auto& view : _views) list.add(view);
    }
    double layoutPriority(const Node&) const override { return 0; }

private:
    std::vector<View> _views;
};

class StackElement : public Container {
public:
    StackElement(Axis axis, Spacing spacing, Alignment alignment, std::vector<View> views)
        : Container(std::move(views)), _axis(axis), _spacing(spacing.points), _alignment(alignment) {}

    const char* name() const override { return _axis == Axis::horizontal ? "HStack" : "VStack"; }
    Axis axis() const { return _axis; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto offers = offersFor(node, proposal, pass);
        double main = 0;
        double cross = 0;
        for (std::size_t at = 0; at < offers.size(); ++at) {
            const auto size = node.children[at]->measure(offers[at], pass);
            main += along(_axis, size);
            cross = std::max(cross, across(_axis, size));
        }
        if (offers.size() > 1) main += _spacing * static_cast<double>(offers.size() - 1);
        return _axis == Axis::horizontal ? Size{main, cross} : Size{cross, main};
    }

    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        const auto offers = offersFor(node, proposal, pass);
        const double room = across(_axis, node.target.size);
        const double part = _axis == Axis::horizontal ? _alignment.vertical : _alignment.horizontal;
        double main = 0;
        for (std::size_t at = 0; at < offers.size(); ++at) {
            auto& child = *node.children[at];
            const auto size = child.measure(offers[at], pass);
            const double cross = (room - across(_axis, size)) * part;
            pass.place(node, child, _axis == Axis::horizontal ? Point{main, cross} : Point{cross, main},
                       offers[at]);
            main += along(_axis, size) + _spacing;
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
        const auto main = _axis == Axis::horizontal ? proposal.width : proposal.height;
        const auto cross = _axis == Axis::horizontal ? proposal.height : proposal.width;
        std::vector<Proposal> offers(node.children.size(), proposalOf(_axis, main, cross));
        if (!main || !std::isfinite(*main)) return offers;
        std::vector<Share> shares(offers.size());
        double reserved = 0;
        for (std::size_t at = 0; at < shares.size(); ++at) {
            auto& child = *node.children[at];
            const double least = along(_axis, child.measure(proposalOf(_axis, 0, cross), pass));
            const double most = along(_axis, child.measure(proposalOf(_axis, unbounded, cross), pass));
            shares[at] = {at, least, most, child.element->layoutPriority(child)};
            reserved += least;
        }
        std::stable_sort(shares.begin(), shares.end(), [](const Share& a, const Share& b) {
            if (a.priority != b.priority) return a.priority > b.priority;
            return a.most - a.least < b.most - b.least;
        });
        double free = *main;
        if (!offers.empty()) free -= _spacing * static_cast<double>(offers.size() - 1);
        for (std::size_t begin = 0; begin < shares.size();) {
            auto end = begin;
            for (; end < shares.size() && shares[end].priority == shares[begin].priority; ++end) {
                reserved -= shares[end].least;
            }
            for (; begin < end; ++begin) {
                const double part = std::max(0.0, (free - reserved) / static_cast<double>(end - begin));
                auto& offer = offers[shares[begin].child];
                offer = proposalOf(_axis, part, cross);
                free -= along(_axis, node.children[shares[begin].child]->measure(offer, pass));
            }
        }
        return offers;
    }

    Axis _axis;
    double _spacing;
    Alignment _alignment;
};

/// The rows of a list where no stack takes them apart stand under each other.
class ForEachElement final : public StackElement {
public:
    explicit ForEachElement(RowSource source)
        : StackElement(Axis::vertical, Spacing(0), Alignment::topLeading(), {}), _source(std::move(source)) {}
    const char* name() const override { return "ForEach"; }
    const RowSource* rows() const override { return &_source; }
    void children(Node&, ChildList& list) const override {
        list.add(View(std::make_shared<const ForEachElement>(_source)));
    }

private:
    RowSource _source;
};

class LayersElement final : public Container {
public:
    LayersElement(Alignment alignment, std::vector<View> views)
        : Container(std::move(views)), _alignment(alignment) {}
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
                       {(node.target.size.width - size.width) * _alignment.horizontal,
                        (node.target.size.height - size.height) * _alignment.vertical},
                       proposal);
        }
    }

private:
    Alignment _alignment;
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
    explicit SpacerElement(double minimum) : _minimum(minimum) {}
    const char* name() const override { return "Spacer"; }
    Size measure(Node& node, const Proposal& proposal, LayoutPass&) const override {
        const auto taken = [this](std::optional<double> offered) {
            return std::max(_minimum, offered.value_or(_minimum));
        };
        const auto axis = axisAround(node);
        return {axis == Axis::vertical ? 0 : taken(proposal.width),
                axis == Axis::horizontal ? 0 : taken(proposal.height)};
    }

private:
    double _minimum;
};

class MemoElement final : public Element {
public:
    MemoElement(std::function<View()> make, std::shared_ptr<const ComparedValue> values)
        : _make(std::move(make)), _values(std::move(values)) {}
    const char* name() const override { return "Memo"; }
    void children(Node&, ChildList& list) const override { list.add(_make()); }
    bool repeats(const Element& before) const override {
        const auto* same = dynamic_cast<const MemoElement*>(&before);
        return same && _values->equals(*same->_values);
    }

private:
    std::function<View()> _make;
    std::shared_ptr<const ComparedValue> _values;
};

class DividerElement final : public Element {
public:
    explicit DividerElement(const Color& color) : _color(color) {}
    const char* name() const override { return "Divider"; }
    Size measure(Node& node, const Proposal& proposal, LayoutPass&) const override {
        constexpr double thickness = 1;
        if (axisAround(node) == Axis::horizontal) return {thickness, proposal.height.value_or(thickness)};
        return {proposal.width.value_or(thickness), thickness};
    }
    void record(Node& node, Recorder& recorder) const override {
        recorder.add(draw::Fill{node.drawn, Rectangle(), _color});
    }

private:
    Color _color;
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
