#include "protection/LockCoordinator.h"

#include <utility>

namespace vellumix {

void LockCoordinator::requestAccess(const ClipboardItem& item, const std::string& reason,
                                    AuthenticationManager::Reply reply) {
    using Status = AuthenticationManager::Result::Status;
    const auto present = _store.item(item.id);
    if (!present || !present->locked) {
        reply({present ? Status::success : Status::failed, std::nullopt});
        return;
    }
    // The one who asked gets the answer even when the coordinator has gone: then nothing has been unlocked.
    auto unlock = _lifetime.weakly([this, item] {
        _store.setLocked(item, false);
        _temporarilyUnlocked.insert(item.id.uuidString());
        restartTimer();
    });
    _authManager.authenticate(reason, [unlock = std::move(unlock), reply = std::move(reply)](
                                          const AuthenticationManager::Result& result) mutable {
        if (result.status == Status::success) unlock();
        reply(result);
    });
}

void LockCoordinator::restartTimer() {
    _autoLockTimer = RunLoop::main().oneShotTimer(
        autoLockInterval, [this] { onMain(_lifetime.weakly([this] { relockAll(); })); });
}

void LockCoordinator::relockAll() {
    for (const auto& id : std::exchange(_temporarilyUnlocked, {})) {
        const auto uuid = UUID::parse(id);
        const auto item = uuid ? _store.item(*uuid) : std::nullopt;
        if (item && !item->locked) _store.setLocked(*item, true);
    }
    _autoLockTimer.reset();
}

}  // namespace vellumix
