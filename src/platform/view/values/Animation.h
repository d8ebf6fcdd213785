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
    explicit Animated(T value) : _to(value) {}

    /// Without a curve, or at the first value ever, it is there at once. Returns when it will rest: `now`
    /// where it doesn't move.
    double set(const T& target, const std::optional<Curve>& curve, double now) {
        if (!_isSet || (!curve && !(target == _to))) {
            jump(target);
        } else if (!(target == _to)) {
            _motion = std::make_unique<const Motion>(Motion{at(now), *curve, now});
            _to = target;
        }
        return restsAt(now);
    }
    void jump(const T& value) {
        _motion.reset();
        _to = value;
        _isSet = true;
    }
    T at(double now) const {
        if (!isMovingAt(now)) return _to;
        return interpolated(_motion->from, _to, _motion->curve.at(now - _motion->began));
    }
    const T& target() const { return _to; }
    bool isSet() const { return _isSet; }
    double restsAt(double now) const { return isMovingAt(now) ? _motion->ends() : now; }

private:
    struct Motion {
        T from;
        Curve curve;
        double began;

        double ends() const { return began + curve.duration(); }
    };

    bool isMovingAt(double now) const { return _motion && now < _motion->ends(); }

    T _to{};
    std::unique_ptr<const Motion> _motion;
    bool _isSet = false;
};

}  // namespace vellumix::view
