#include "protection/LockCoordinator.h"

#include <utility>

namespace vellumix {

using Result = AuthenticationManager::Result;

LockCoordinator::LockCoordinator(Store& store, AuthenticationManager& authManager)
    : store(store), authManager(authManager) {}

void LockCoordinator::requestAccess(const ClipboardItem& item, const std::string& reason,
                                    AuthenticationManager::Completion completion) {
    const auto current = store.item(item.id);
    if (!current) return completion({Result::Status::failed, std::nullopt});
    if (!current->locked) return completion({Result::Status::success, std::nullopt});
    authManager.authenticate(reason,
                             lifetime.weakly([this, item, breaks = this->breaks,
                                              completion = std::move(completion)](const Result& result) {
                                 // The owner's answer may have been under way already.
                                 if (breaks != this->breaks)
                                     return completion({Result::Status::cancelled, result.error});
                                 if (result.status == Result::Status::success) {
                                     store.setLocked(item, false);
                                     temporarilyUnlocked.insert(item.id);
                                     restartTimer();
                                 }
                                 completion(result);
                             }));
}

void LockCoordinator::breakOff() {
    ++breaks;
    authManager.breakOff();
}

void LockCoordinator::restartTimer() {
    if (autoLockTimer) autoLockTimer->invalidate();
    autoLockTimer = RunLoop::main().oneShotTimer(
        autoLockInterval, lifetime.weakly([this] { onMain(lifetime.weakly([this] { relockAll(); })); }));
}

void LockCoordinator::relockAll() {
    for (const auto& id : std::exchange(temporarilyUnlocked, {})) {
        const auto current = store.item(id);
        if (current && !current->locked) store.setLocked(*current, true);
    }
    if (autoLockTimer) autoLockTimer->invalidate();
    autoLockTimer.reset();
}

}  // namespace vellumix
