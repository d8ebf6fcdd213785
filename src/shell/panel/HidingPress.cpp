#include "shell/panel/HidingPress.h"

#include "platform/desktop/Platform.h"

namespace vellumix {

namespace {

/// From the button's coming up to what the desktop says of it; a busy one takes its time.
constexpr double answerSeconds = 1;

}  // namespace

// It owns the monitors and the timer, so that none outlives it.
HidingPress::HidingPress()
    : down(platform::current().windows->addGlobalMonitorForMouseDown([this] { end(); })),
      up(platform::current().windows->addGlobalMonitorForMouseUp([this] { released(); })) {}

void HidingPress::released() {
    if (!answer) answer = RunLoop::main().oneShotTimer(answerSeconds, [this] { end(); });
}

void HidingPress::end() {
    isUnderWay_ = false;
    down.cancel();
    up.cancel();
}

}  // namespace vellumix
