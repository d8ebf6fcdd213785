#include "core/history/MissingFiles.h"

#include <algorithm>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

MissingFiles& MissingFiles::shared() { return SharedInstances::current().get<MissingFiles>(); }

bool MissingFiles::isGone(const URL& file) {
    // The read is what has the view evaluated again.
    changes.get();
    const auto answer = known.objectForKey(file.path());
    const bool isFresh = answer && RunLoop::main().uptime() - answer->time < secondsKept;
    if (!isFresh && std::ranges::find(wanted, file) == wanted.end()) {
        wanted.push_back(file);
        if (wanted.size() == 1) askLater();
    }
    return answer && answer->isGone;
}

void MissingFiles::forget(const URL& file) {
    known.removeObjectForKey(file.path());
    const bool isUnderWay = !wanted.empty() && wanted.front() == file;
    std::erase(wanted, file);
    if (isUnderWay) askLater();
}

void MissingFiles::askLater() {
    // Whatever else comes of the last question is late.
    ++number;
    deadline.reset();
    onMain(lifetime.weakly([this] { askNext(); }));
}

void MissingFiles::askNext() {
    if (wanted.empty()) return;
    const auto file = wanted.front();
    const auto arrived = [this, file, number = ++number](bool isGone) {
        if (number == this->number) arrive(file, isGone);
    };
    auto& trash = *platform::current().trash;
    deadline = RunLoop::main().oneShotTimer(patience, [arrived] { arrived(false); });
    trash.isThere(file, lifetime.weakly([this, &trash, file, arrived](bool isThere) {
        if (isThere) return arrived(false);
        trash.holds(file, lifetime.weakly([arrived](bool isHeld) { arrived(!isHeld); }));
    }));
}

void MissingFiles::arrive(const URL& file, bool isGone) {
    wanted.pop_front();
    const auto before = known.objectForKey(file.path());
    known.setObject(
        std::make_shared<const Answer>(Answer{.isGone = isGone, .time = RunLoop::main().uptime()}),
        file.path());
    if (isGone != (before && before->isGone)) changes.update([](int& changes) { ++changes; });
    askLater();
}

}  // namespace vellumix
