#include "platform/foundation/loop/RepeatedFailure.h"

#include <utility>

namespace vellumix {

void RepeatedFailure::error(const std::string& sentence) {
    const auto [found, isFirst] = _repeats.try_emplace(sentence, 0);
    if (!isFirst) {
        ++found->second;
        return;
    }
    _log.error(sentence);
    if (!_timer) _timer = _runLoop.oneShotTimer(period, [this] { sayHowOften(); });
}

void RepeatedFailure::sayHowOften() {
    _timer.reset();
    for (const auto& [sentence, repeats] : std::exchange(_repeats, {})) {
        if (repeats > 0) _log.error(sentence + " (" + std::to_string(repeats) + " times more)");
    }
}

}  // namespace vellumix
