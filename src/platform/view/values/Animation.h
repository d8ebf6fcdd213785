#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/desktop/Geometry.h"
#include "platform/view/values/Curve.h"
#include "platform/view/values/Style.h"

namespace vellumix::view {

/// Makes a change of state, and lets everything that it moves on the next frame run along the curve. A view
/// with an `animation` of its own for the value that changed keeps its own curve. Main thread; calls nest.
void withAnimation(const Curve& curve, const std::function<void()>& change);

/// The curve of the innermost `withAnimation` that runs.
const std::optional<Curve>& currentAnimation();

inline double interpolated(double from, double to, double part) { return from + (to - from) * part; }
inline Point interpolated(Point from, Point to, double part) {
    return {interpolated(from.x, to.x, part), interpolated(from.y, to.y, part)};
}
inline Rect interpolated(const Rect& from, const Rect& to, double part) {
    return {interpolated(from.origin, to.origin, part),
            {interpolated(from.size.width, to.size.width, part),
             interpolated(from.size.height, to.size.height, part)}};
}
/// Through premultiplied components, so that a colour that comes out of nothing shows no other colour on the
/// way. Stays a colour where a spring overshoots.
Color interpolated(const Color& from, const Color& to, double part);

/// A value on its way to another. A function of the clock alone. Most never move, so what moving takes is
/// apart.
template <class T>
class Animated {
public:
    Animated() = default;
    explicit Animated(T value) : to(value) {}

    /// Without a curve, or at the first value ever, it is there at once. Returns when it will rest: `now`
    /// where it doesn't move.
    double set(const T& target, const std::optional<Curve>& curve, double now) {
        if (!isSet_ || (!curve && !(target == to))) {
            jump(target);
        } else if (!(target == to)) {
            motion = std::make_unique<const Motion>(Motion{at(now), *curve, now});
            to = target;
        }
        return restsAt(now);
    }
    void jump(const T& value) {
        motion.reset();
        to = value;
        isSet_ = true;
    }
    T at(double now) const {
        if (!isMovingAt(now)) return to;
        return interpolated(motion->from, to, motion->curve.at(now - motion->began));
    }
    const T& target() const { return to; }
    bool isSet() const { return isSet_; }
    double restsAt(double now) const { return isMovingAt(now) ? motion->ends() : now; }

private:
    struct Motion {
        T from;
        Curve curve;
        double began;

        double ends() const { return began + curve.duration(); }
    };

    bool isMovingAt(double now) const { return motion && now < motion->ends(); }

    T to{};
    std::unique_ptr<const Motion> motion;
    bool isSet_ = false;
};

}  // namespace vellumix::view
