#include "platform/view/text/CaretBlink.h"

#include <algorithm>
#include <cmath>

namespace vellumix::view {

double CaretBlink::idleFor(double now) {
    if (isRestarted) since = now;
    isRestarted = false;
    return now - since;
}

bool CaretBlink::isShown(Recorder& recorder) {
    // In seconds.
    constexpr double steady = 0.5;
    constexpr double halfPeriod = 0.53;
    constexpr double blinking = 10;
    // A frame at the very moment that was asked for belongs to what begins then.
    constexpr double slack = 1e-4;
    const double idle = idleFor(recorder.now()) + slack;
    if (idle >= blinking) return true;
    const double turns = idle < steady ? 0 : std::floor((idle - steady) / halfPeriod) + 1;
    recorder.needFrameAt(since + std::min(steady + turns * halfPeriod, blinking));
    return std::fmod(turns, 2) == 0;
}

}  // namespace vellumix::view
