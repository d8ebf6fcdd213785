#include "delivery/FileOffer.h"

#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

FileOffer& FileOffer::shared() { return SharedInstances::current().get<FileOffer>(); }

void FileOffer::follow(const URL& file, Write write) {
    // Of two quick pastes the later write wins, and the earlier one pastes it too.
    settle(false);
    ++number;
    step = Step::looking;
    auto& platform = platform::current();
    const auto changeCount = platform.pasteboard->changeCount();
    deadline = platform.runLoop->oneShotTimer(presenceSeconds, [this] { settle(false); });
    platform.trash->isThere(file, current([this, file, write = std::move(write), changeCount](bool isThere) {
                                isThere ? settle(false) : search(file, write, changeCount);
                            }));
}

void FileOffer::search(const URL& file, const Write& write, std::int64_t changeCount) {
    step = Step::searching;
    deadline = RunLoop::main().oneShotTimer(searchSeconds, [this] { settle(true); });
    platform::current().trash->offer(
        file, current([this, write, changeCount](const std::optional<Trash::Offer>& offer) {
            arrive(offer, write, changeCount);
        }));
}

void FileOffer::arrive(const std::optional<Trash::Offer>& offer, const Write& write,
                       std::int64_t changeCount) {
    auto& pasteboard = *platform::current().pasteboard;
    const bool isStillOurs = pasteboard.isOurs() && pasteboard.changeCount() == changeCount;
    if (offer && !isStillOurs) releaseLater();
    if (offer && isStillOurs) {
        release.reset();
        write(offer->file);
        changes = pasteboard.observeChanges([this, own = pasteboard.changeCount()] {
            if (platform::current().pasteboard->changeCount() != own) releaseLater();
        });
        if (!offer->hasItsName) NotificationCenter::defaultCenter().post(otherNameNotification);
    }
    settle(!offer);
}

void FileOffer::settle(bool isGone) {
    deadline.reset();
    if (!isUnderWay()) return;
    step = isGone ? Step::gone : Step::ready;
    const auto pastes = std::exchange(waiting, {});
    if (isGone) return NotificationCenter::defaultCenter().post(goneNotification);
    for (const auto& paste : pastes) paste();
}

void FileOffer::whenReady(Work paste) {
    if (step == Step::ready) return paste();
    if (isUnderWay()) waiting.push_back(std::move(paste));
}

void FileOffer::releaseLater() {
    if (release) return;
    release = RunLoop::main().oneShotTimer(margin, [this] {
        changes = {};
        platform::current().trash->release();
    });
}

}  // namespace vellumix
