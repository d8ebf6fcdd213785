#include "platform/view/values/Animation.h"

#include <algorithm>
#include <utility>

namespace vellumix::view {

namespace {
std::optional<Curve> running;
}

void withAnimation(const Curve& curve, const std::function<void()>& change) {
    const auto outer = std::exchange(running, curve);
    change();
    running = outer;
}

const std::optional<Curve>& currentAnimation() { return running; }

Color interpolated(const Color& from, const Color& to, double part) {
    const double alpha = std::clamp(interpolated(from.alpha, to.alpha, part), 0.0, 1.0);
    if (alpha <= 0) return Color::clear();
    const auto component = [&](double a, double b) {
        return std::clamp(interpolated(a * from.alpha, b * to.alpha, part) / alpha, 0.0, 1.0);
    };
    return {component(from.red, to.red), component(from.green, to.green), component(from.blue, to.blue),
            alpha};
}

}  // namespace vellumix::view
