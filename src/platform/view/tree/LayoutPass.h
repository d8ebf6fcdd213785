#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/view/tree/Element.h"
#include "platform/view/tree/Node.h"
#include "platform/view/values/Animation.h"

namespace vellumix::view {

/// Builds the views of a node while it is laid out.
class Builder {
public:
    virtual ~Builder() = default;
    /// Makes the node's children those of the list, keeping each that has the same identity.
    virtual void build(Node& node, const ChildList& list, const std::optional<Curve>& curve) = 0;
};

/// One run over the tree that measures and places.
class LayoutPass {
public:
    LayoutPass(Builder& treeBuilder, TextSetter& textSetter, double surfaceScale, double time, int number)
        : builder(treeBuilder), texts(textSetter), scale(surfaceScale), now(time), update(number) {}

    /// Places a child by its leading top corner; where rows run from right to left, it is mirrored.
    void place(Node& parent, Node& child, Point leadingOrigin, const Proposal& proposal) {
        const auto size = child.measure(proposal, *this);
        const bool isMirrored = parent.environment->direction == LayoutDirection::rightToLeft;
        const double x =
            isMirrored ? parent.target.size.width - leadingOrigin.x - size.width : leadingOrigin.x;
        child.target = {{x, leadingOrigin.y}, size};
        child.windowOrigin = parent.windowOrigin + child.target.origin;
        move(child.frame, child.target);
        const auto outer = curve;
        if (child.ownCurve && child.ownCurve->update == update) curve = child.ownCurve->curve;
        child.element->place(child, proposal, *this);
        curve = outer;
    }

    /// Sets a value that runs along the curve that is in force here.
    template <class T>
    void move(Animated<T>& value, const T& target) {
        movesUntil = std::max(movesUntil, value.set(target, curve, now));
    }

    double roundedUp(double length) const {
        constexpr double slack = 1e-6;
        return std::ceil(length * scale - slack) / scale;
    }

    Builder& builder;
    TextSetter& texts;
    double scale;
    double now;
    int update;
    std::optional<Curve> curve;
    double movesUntil = 0;
    /// What can be seen, in the window.
    Rect viewport;
    /// How far rows above what is seen have grown, which their scroll area makes up for.
    double shift = 0;
};

}  // namespace vellumix::view
