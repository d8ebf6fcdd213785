#include "shell/panel/HidingPress.h"

#include "platform/desktop/Platform.h"

namespace vellumix {

namespace {

/// From the button's coming up to what the desktop says of it; a busy one takes its time.
constexpr double answerSeconds = 1;

}  // namespace

// It owns the monitors and the timer, so that none outlives it.
HidingPress::HidingPress()
    : _down(platform::current().windows->addGlobalMonitorForMouseDown([this] { end(); })),
      _up(platform::current().windows->addGlobalMonitorForMouseUp([this] { released(); })) {}

void HidingPress::released() {
    if (!_answer) _answer = RunLoop::main().oneShotTimer(answerSeconds, [this] { end(); });
}

void HidingPress::end() {
    _isUnderWay = false;
    _down.cancel();
    _up.cancel();
}

}  // namespace vellumix
