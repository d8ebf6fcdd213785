#include <algorithm>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

class ScrollElement final : public Wrapper {
public:
    ScrollElement(View content, std::optional<ScrollTarget> target, ScrollArea::Indicator indicator)
        : Wrapper(std::move(content)), target(std::move(target)), indicator(indicator) {}
    const char* name() const override { return "ScrollArea"; }

    Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        if (proposal.width && proposal.height) return {*proposal.width, *proposal.height};
        const auto content = Wrapper::measure(node, {proposal.width, std::nullopt}, pass);
        return {proposal.width.value_or(content.width), proposal.height.value_or(content.height)};
    }

    void place(Node& node, const Proposal&, LayoutPass& pass) const override {
        if (node.children.empty()) return;
        auto& data = node.data<Data>();
        auto& child = *node.children.front();
        const Proposal inner{node.target.size.width, std::nullopt};
        const auto outerViewport = pass.viewport;
        const bool isSought = target && !target->id.empty() && data.reached != target;
        // Rows that come into sight turn out higher or lower than was guessed; a few rounds settle it.
        constexpr int rounds = 6;
        for (int round = 0; round < rounds; ++round) {
            const double before = child.measure(inner, pass).height;
            if (isSought) seek(node, data);
            data.most = std::max(0.0, before - node.target.size.height);
            data.offset = std::clamp(data.offset, 0.0, data.most);
            pass.viewport = viewport(node, child, data.offset, pass);
            pass.shift = 0;
            pass.place(node, child, {0, -data.offset}, inner);
            if (pass.shift != 0 && !isSought) data.offset += pass.shift;
            if (child.measure(inner, pass).height == before && pass.shift == 0 && !isSought) break;
        }
        if (isSought) data.reached = target;
        pass.viewport = outerViewport;
        pass.shift = 0;
    }

    void record(Node& node, Recorder& recorder) const override {
        recorder.clipped(node.drawn, Rectangle(), [&] {
            recorder.recordChildren(node);
            recordIndicator(node, recorder);
        });
    }

    bool isSolid() const override { return true; }

    bool scroll(Node& node, double by) const override {
        auto& data = node.data<Data>();
        const double wanted = std::clamp(data.offset + by, 0.0, data.most);
        if (wanted == data.offset) return false;
        data.offset = wanted;
        return true;
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        SemanticNode area;
        area.role = Role::scrollArea;
        area.frame = node.visible;
        Wrapper::describe(node, area.children);
        into.push_back(std::move(area));
    }

private:
    struct Data final : NodeData {
        double offset = 0;
        double most = 0;
        std::optional<ScrollTarget> reached;
    };

    void seek(Node& node, Data& data) const {
        const auto found = node.children.front()->element->locate(*node.children.front(), target->id);
        if (!found) return;
        const double room = node.target.size.height;
        const auto [top, bottom] = *found;
        if (target->anchor) {
            data.offset = top - (room - (bottom - top)) * *target->anchor;
        } else if (top < data.offset) {
            data.offset = top;
        } else if (bottom > data.offset + room) {
            data.offset = bottom - room;
        }
    }

    /// What is seen now and at the end of an animated scroll. One from far away runs its last stretch only,
    /// so that it builds no more than a few windows of rows.
    static Rect viewport(const Node& node, Node& child, double offset, const LayoutPass& pass) {
        Rect seen{node.windowOrigin, node.target.size};
        if (!pass.curve || !child.frame.isSet()) return seen;
        const double reach = node.target.size.height;
        auto now = child.frame.at(pass.now);
        const double distance = -offset - now.origin.y;
        if (std::abs(distance) > reach) {
            now.origin.y = -offset - std::clamp(distance, -reach, reach);
            child.frame.jump(now);
        }
        const double shown = -now.origin.y - offset;
        seen.origin.y += std::min(0.0, shown);
        seen.size.height += std::abs(shown);
        return seen;
    }

    void recordIndicator(const Node& node, Recorder& recorder) const {
        const auto* data = node.dataIfAny<Data>();
        if (indicator == ScrollArea::Indicator::hidden || !data || data->most <= 0) return;
        constexpr double width = 5;
        constexpr double margin = 2;
        constexpr double shortest = 24;
        constexpr double opacity = 0.35;
        const auto& box = node.drawn;
        const double room = box.size.height - 2 * margin;
        if (room <= shortest) return;
        const double length = std::max(shortest, room * box.size.height / (box.size.height + data->most));
        const bool isMirrored = node.environment->direction == LayoutDirection::rightToLeft;
        const double offset =
            node.children.empty()
                ? 0
                : std::clamp(-node.children.front()->frame.at(recorder.now()).origin.y, 0.0, data->most);
        recorder.add(
            draw::Fill{recorder.snapped({{isMirrored ? box.minX() + margin : box.maxX() - margin - width,
                                          box.minY() + margin + (room - length) * offset / data->most},
                                         {width, length}}),
                       Capsule(), node.environment->foreground.withOpacity(opacity)});
    }

    std::optional<ScrollTarget> target;
    ScrollArea::Indicator indicator;
};

}  // namespace

ScrollArea::ScrollArea(const View& content, std::optional<ScrollTarget> target, Indicator indicator)
    : View(std::make_shared<const ScrollElement>(content, std::move(target), indicator)) {}

}  // namespace vellumix::view
