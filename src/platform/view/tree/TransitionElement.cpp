#include "platform/view/tree/TransitionElement.h"

#include <algorithm>

#include "platform/view/tree/Recorder.h"

namespace vellumix::view {

namespace {

/// The view's own transition: on it, or on the one view that it consists of.
Node* transitionOf(Node& node) {
    for (auto* at = &node; at; at = at->children.size() == 1 ? at->children.front().get() : nullptr) {
        if (dynamic_cast<const TransitionElement*>(at->element.get())) return at;
    }
    return nullptr;
}

}  // namespace

void TransitionElement::record(Node& node, Recorder& recorder) const {
    const double presence = node.data<Presence>().value.at(recorder.now());
    if (presence == 1) {
        recorder.recordChildren(node);
        return;
    }
    const double away = 1 - presence;
    if (transition.edge) {
        const bool isMirrored = node.environment->direction == LayoutDirection::rightToLeft;
        auto edge = *transition.edge;
        if (isMirrored && edge == Edge::leading) {
            edge = Edge::trailing;
        } else if (isMirrored && edge == Edge::trailing) {
            edge = Edge::leading;
        }
        if (edge == Edge::top) node.drawnOrigin.y -= away * node.drawn.size.height;
        if (edge == Edge::bottom) node.drawnOrigin.y += away * node.drawn.size.height;
        if (edge == Edge::leading) node.drawnOrigin.x -= away * node.drawn.size.width;
        if (edge == Edge::trailing) node.drawnOrigin.x += away * node.drawn.size.width;
        node.drawn = recorder.snapped({node.drawnOrigin, node.drawn.size});
    }
    recorder.add(draw::PushLayer{transition.fades ? std::clamp(presence, 0.0, 1.0) : 1,
                                 transition.scale ? interpolated(*transition.scale, 1, presence) : 1,
                                 node.drawn.centre()});
    recorder.recordChildren(node);
    recorder.add(draw::Pop{});
}

double beginEntering(Node& node, const Curve& curve, double now) {
    auto* found = transitionOf(node);
    if (!found) return now;
    auto& presence = found->data<TransitionElement::Presence>().value;
    presence.jump(0);
    return presence.set(1, curve, now);
}

std::optional<double> beginLeaving(Node& node, const Curve& curve, double now) {
    auto* found = transitionOf(node);
    if (!found) return std::nullopt;
    auto& presence = found->data<TransitionElement::Presence>().value;
    if (!presence.isSet()) presence.jump(1);
    return presence.set(0, curve, now);
}

bool hasLeft(Node& node, double now) {
    auto* found = transitionOf(node);
    return !found || found->data<TransitionElement::Presence>().value.restsAt(now) <= now;
}

}  // namespace vellumix::view
