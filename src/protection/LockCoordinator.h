#pragma once

#include <memory>
#include <set>
#include <string>

#include "core/Store.h"
#include "platform/foundation/Lifetime.h"
#include "platform/foundation/RunLoop.h"
#include "protection/AuthenticationManager.h"

namespace vellumix {

/// Decides who may reach a locked entry's content, and for how long: the owner of the machine, until
/// `relockAll` or until `autoLockInterval` after the last unlocking. Main thread only.
class LockCoordinator {
public:
    /// In seconds.
    static constexpr double autoLockInterval = 300.0;

    /// Both must outlive the coordinator.
    LockCoordinator(Store& store, AuthenticationManager& authManager)
        : _store(store), _authManager(authManager) {}

    /// Replies `success` at once for an entry that isn't locked, and `failed` at once for one that is gone.
    /// Else the owner is asked, for a reason in his own language; once he is confirmed, the entry is unlocked
    /// for the time being.
    void requestAccess(const ClipboardItem& item, const std::string& reason,
                       AuthenticationManager::Reply reply);
    /// Locks again what was unlocked for the time being.
    void relockAll();
    /// Makes the unlocking of an entry last.
    void keepUnlocked(const ClipboardItem& item) { _temporarilyUnlocked.erase(item.id.uuidString()); }

    bool isTemporarilyUnlocked(const ClipboardItem& item) const {
        return _temporarilyUnlocked.contains(item.id.uuidString());
    }
    bool isAutoLockPending() const { return _autoLockTimer != nullptr; }

private:
    void restartTimer();

    Store& _store;
    AuthenticationManager& _authManager;
    /// What was unlocked here. An entry may have been deleted or locked by other means since.
    std::set<std::string> _temporarilyUnlocked;
    std::unique_ptr<NSTimer> _autoLockTimer;
    Lifetime _lifetime;
};

}  // namespace vellumix
