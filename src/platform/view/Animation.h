#pragma once

#include <functional>
#include <optional>

#include "platform/desktop/Geometry.h"
#include "platform/view/Curve.h"
#include "platform/view/Style.h"

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

/// A value on its way to another. A function of the clock alone.
template <class T>
class Animated {
public:
    Animated() = default;
    explicit Animated(T value) : _from(value), _to(value) {}

    /// Without a curve, or at the first value ever, it is there at once. Returns when it will rest: `now`
    /// where it doesn't move.
    double set(const T& target, const std::optional<Curve>& curve, double now) {
        if (!_isSet || (!curve && !(target == _to))) {
            _curve.reset();
            _from = _to = target;
            _isSet = true;
        } else if (!(target == _to)) {
            _from = at(now);
            _to = target;
            _curve = curve;
            _began = now;
        }
        return restsAt(now);
    }
    void jump(const T& value) {
        _curve.reset();
        _from = _to = value;
        _isSet = true;
    }
    T at(double now) const {
        if (!_curve || now >= _began + _curve->duration()) return _to;
        return interpolated(_from, _to, _curve->at(now - _began));
    }
    const T& target() const { return _to; }
    bool isSet() const { return _isSet; }
    double restsAt(double now) const {
        return _curve && now < _began + _curve->duration() ? _began + _curve->duration() : now;
    }

private:
    T _from{};
    T _to{};
    std::optional<Curve> _curve;
    double _began = 0;
    bool _isSet = false;
};

}  // namespace vellumix::view
