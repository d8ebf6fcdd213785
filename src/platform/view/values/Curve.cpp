#include "platform/view/values/Curve.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vellumix::view {

namespace {

/// One coordinate of a cubic Bézier curve from 0 to 1.
double bezier(double t, double first, double second) {
    const double rest = 1 - t;
    return 3 * rest * rest * t * first + 3 * rest * t * t * second + t * t * t;
}

}  // namespace

Curve Curve::spring(double response, double dampingFraction) {
    Curve curve(0, 0, 0, 1, 1);
    curve._frequency = 2 * std::numbers::pi / std::max(response, 0.01);
    curve._damping = std::clamp(dampingFraction, 0.05, 1.0);
    // Its envelope falls with exp(-damping * frequency * t). The one that doesn't swing falls slower by a
    // factor that grows with t, and rests a little later.
    constexpr double restingLogarithm = 6.907755278982137;
    const double slack = curve._damping < 1 ? 1 / std::sqrt(1 - curve._damping * curve._damping) : 10;
    curve._duration =
        (restingLogarithm + std::log(std::min(slack, 10.0))) / (curve._damping * curve._frequency);
    return curve;
}

double Curve::at(double seconds) const {
    if (seconds >= _duration) return 1;
    if (seconds <= 0) return 0;
    if (_frequency > 0) return springAt(seconds);
    const double wanted = seconds / _duration;
    double low = 0;
    double high = 1;
    constexpr int halvings = 40;
    for (int step = 0; step < halvings; ++step) {
        const double middle = (low + high) / 2;
        (bezier(middle, _x1, _x2) < wanted ? low : high) = middle;
    }
    return bezier((low + high) / 2, _y1, _y2);
}

double Curve::springAt(double seconds) const {
    const double decay = std::exp(-_damping * _frequency * seconds);
    if (_damping >= 1) return 1 - decay * (1 + _frequency * seconds);
    const double swing = std::sqrt(1 - _damping * _damping);
    const double angle = swing * _frequency * seconds;
    return 1 - decay * (std::cos(angle) + _damping / swing * std::sin(angle));
}

}  // namespace vellumix::view
