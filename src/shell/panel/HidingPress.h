#pragma once

#include <memory>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/Observation.h"

namespace vellumix {

/// The press beside the panel that has hidden it, for as long as it can turn out to be a click on the status
/// item, which a desktop tells of only when the button comes up, and by the bus. Main thread only.
class HidingPress {
public:
    HidingPress();
    HidingPress(const HidingPress&) = delete;
    HidingPress& operator=(const HidingPress&) = delete;

    /// Until another press, or until the answer to a click would have come.
    bool isUnderWay() const { return isUnderWay_; }

private:
    void released();
    void end();

    bool isUnderWay_ = true;
    Observation down;
    Observation up;
    std::unique_ptr<NSTimer> answer;
};

}  // namespace vellumix
