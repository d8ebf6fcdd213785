#include <cmath>
#include <numbers>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

class ProgressElement final : public Element {
public:
    const char* name() const override { return "ProgressIndicator"; }
    Size measure(Node&, const Proposal&, LayoutPass&) const override { return {side, side}; }

    void record(Node& node, Recorder& recorder) const override {
        constexpr int spokes = 8;
        constexpr double secondsPerTurn = 0.8;
        constexpr Size spoke{2, 4.5};
        constexpr double faintest = 0.18;
        const double turns = recorder.now() / secondsPerTurn;
        const int first = static_cast<int>((turns - std::floor(turns)) * spokes);
        const auto centre = node.drawn.centre();
        const Rect upright{{centre.x - spoke.width / 2, node.drawn.minY() + 1}, spoke};
        for (int at = 0; at < spokes; ++at) {
            // The one ahead is the strongest, and those behind it fade.
            const int age = (first - at + spokes) % spokes;
            const double strength = 1 - (1 - faintest) * age / (spokes - 1);
            recorder.add(draw::PushLayer{.centre = centre, .rotation = 2 * std::numbers::pi * at / spokes});
            recorder.add(draw::Fill{upright, Capsule(), node.environment->foreground.withOpacity(strength)});
            recorder.add(draw::Pop{});
        }
        recorder.isMoving = true;
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        SemanticNode wheel;
        wheel.role = Role::progressIndicator;
        wheel.frame = node.visible;
        into.push_back(std::move(wheel));
    }

private:
    static constexpr double side = 16;
};

}  // namespace

ProgressIndicator::ProgressIndicator() : View(std::make_shared<const ProgressElement>()) {}

}  // namespace vellumix::view
