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
    curve.frequency = 2 * std::numbers::pi / std::max(response, 0.01);
    curve.damping = std::clamp(dampingFraction, 0.05, 1.0);
    // Its envelope falls with exp(-damping * frequency * t). The one that doesn't swing falls slower by a
    // factor that grows with t, and rests a little later.
    constexpr double restingLogarithm = 6.907755278982137;
    const double slack = curve.damping < 1 ? 1 / std::sqrt(1 - curve.damping * curve.damping) : 10;
    curve.duration_ =
        (restingLogarithm + std::log(std::min(slack, 10.0))) / (curve.damping * curve.frequency);
    return curve;
}

double Curve::at(double seconds) const {
    if (seconds >= duration_) return 1;
    if (seconds <= 0) return 0;
    if (frequency > 0) return springAt(seconds);
    const double wanted = seconds / duration_;
    double low = 0;
    double high = 1;
    constexpr int halvings = 40;
    for (int step = 0; step < halvings; ++step) {
        const double middle = (low + high) / 2;
        (bezier(middle, x1, x2) < wanted ? low : high) = middle;
    }
    return bezier((low + high) / 2, y1, y2);
}

double Curve::springAt(double seconds) const {
    const double decay = std::exp(-damping * frequency * seconds);
    if (damping >= 1) return 1 - decay * (1 + frequency * seconds);
    const double swing = std::sqrt(1 - damping * damping);
    const double angle = swing * frequency * seconds;
    return 1 - decay * (std::cos(angle) + damping / swing * std::sin(angle));
}

}  // namespace vellumix::view
