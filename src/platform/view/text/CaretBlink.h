#pragma once

#include "platform/view/tree/Recorder.h"

namespace vellumix::view {

/// Whether a caret is to be seen: steadily while somebody writes, then on and off, and steadily again once
/// nobody has written for long, so that an idle window wakes nobody.
class CaretBlink {
public:
    /// Something was written, or the caret has moved.
    void restart() { isRestarted = true; }
    /// Asks for a frame when it changes next.
    bool isShown(Recorder& recorder);
    /// How long nothing has been written, in seconds.
    double idleFor(double now);

private:
    /// The moment is that of the first frame after it.
    bool isRestarted = false;
    double since = 0;
};

}  // namespace vellumix::view
