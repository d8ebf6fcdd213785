#include "platform/foundation/loop/RepeatedFailure.h"

#include <utility>

namespace vellumix {

void RepeatedFailure::error(const std::string& sentence) {
    const auto [found, isFirst] = repeats.try_emplace(sentence, 0);
    if (!isFirst) {
        ++found->second;
        return;
    }
    log.error(sentence);
    if (!timer) timer = runLoop.oneShotTimer(period, [this] { sayHowOften(); });
}

void RepeatedFailure::sayHowOften() {
    timer.reset();
    for (const auto& [sentence, repeats] : std::exchange(this->repeats, {})) {
        if (repeats > 0) log.error(sentence + " (" + std::to_string(repeats) + " times more)");
    }
}

}  // namespace vellumix
