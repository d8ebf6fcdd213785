#include "protection/LockCoordinator.h"

#include <utility>

namespace vellumix {

using Result = AuthenticationManager::Result;

LockCoordinator::LockCoordinator(Store& store, AuthenticationManager& authManager)
    : _store(store), _authManager(authManager) {}

void LockCoordinator::requestAccess(const ClipboardItem& item, const std::string& reason,
                                    AuthenticationManager::Completion completion) {
    const auto current = _store.item(item.id);
    if (!current) return completion({Result::Status::failed, std::nullopt});
    if (!current->locked) return completion({Result::Status::success, std::nullopt});
    _authManager.authenticate(
        reason, _lifetime.weakly(
                    [this, item, breaks = _breaks, completion = std::move(completion)](const Result& result) {
                        // The owner's answer may have been under way already.
                        if (breaks != _breaks) return completion({Result::Status::cancelled, result.error});
                        if (result.status == Result::Status::success) {
                            _store.setLocked(item, false);
                            temporarilyUnlocked.insert(item.id);
                            restartTimer();
                        }
                        completion(result);
                    }));
}

void LockCoordinator::breakOff() {
    ++_breaks;
    _authManager.breakOff();
}

void LockCoordinator::restartTimer() {
    if (_autoLockTimer) _autoLockTimer->invalidate();
    _autoLockTimer = RunLoop::main().oneShotTimer(
        autoLockInterval, _lifetime.weakly([this] { onMain(_lifetime.weakly([this] { relockAll(); })); }));
}

void LockCoordinator::relockAll() {
    for (const auto& id : std::exchange(temporarilyUnlocked, {})) {
        const auto current = _store.item(id);
        if (current && !current->locked) _store.setLocked(*current, true);
    }
    if (_autoLockTimer) _autoLockTimer->invalidate();
    _autoLockTimer.reset();
}

}  // namespace vellumix
