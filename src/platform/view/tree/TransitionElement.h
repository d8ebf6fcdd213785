#pragma once

#include "platform/view/tree/Element.h"
#include "platform/view/tree/Node.h"

namespace vellumix::view {

class TransitionElement final : public Wrapper {
public:
    TransitionElement(View content, const Transition& transition)
        : Wrapper(std::move(content)), transition(transition) {}

    const char* name() const override { return "Transition"; }
    void record(Node& node, Recorder& recorder) const override;

    /// 0 where the view is away, 1 where it is there.
    struct Presence final : NodeData {
        Animated<double> value{1};
    };

private:
    Transition transition;
};

/// Makes a view that has a transition come along the curve. Returns when it will be there.
double beginEntering(Node& node, const Curve& curve, double now);
/// Makes it go. Returns when it will be gone; nothing where it has no transition.
std::optional<double> beginLeaving(Node& node, const Curve& curve, double now);
bool hasLeft(Node& node, double now);

}  // namespace vellumix::view
