#pragma once

namespace vellumix::view {

/// How a change runs over time: a function from seconds since its beginning to the part that is done.
class Curve {
public:
    /// Cubic Bézier curves (CSS Easing Functions Level 1, section 2.3), over a duration in seconds.
    static constexpr Curve linear(double duration) { return Curve(duration, 0, 0, 1, 1); }
    static constexpr Curve easeIn(double duration) { return Curve(duration, 0.42, 0, 1, 1); }
    static constexpr Curve easeOut(double duration) { return Curve(duration, 0, 0, 0.58, 1); }
    static constexpr Curve easeInOut(double duration) { return Curve(duration, 0.42, 0, 0.58, 1); }
    /// A damped spring. `response` is the period of the undamped spring in seconds; a damping fraction of 1
    /// comes to rest without overshoot, less swings. Both above 0.
    static Curve spring(double response, double dampingFraction);

    /// Seconds until it rests. A spring rests when it is within a thousandth for good.
    double duration() const { return duration_; }
    /// 0 at the beginning, exactly 1 from the end on; a spring may pass 1 on the way.
    double at(double seconds) const;

    friend bool operator==(const Curve&, const Curve&) = default;

private:
    constexpr Curve(double duration, double x1, double y1, double x2, double y2)
        : duration_(duration), x1(x1), y1(y1), x2(x2), y2(y2) {}

    double springAt(double seconds) const;

    double duration_;
    double x1;
    double y1;
    double x2;
    double y2;
    /// In radians a second; 0 for a Bézier curve.
    double frequency = 0;
    double damping = 1;
};

}  // namespace vellumix::view
