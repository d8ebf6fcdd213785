#pragma once

#include <memory>
#include <set>
#include <string>

#include "core/history/Store.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "protection/AuthenticationManager.h"

namespace vellumix {

/// Decides who reaches the content of a locked entry, and for how long. Main thread only.
///
/// An entry that was unlocked here is locked again after `autoLockInterval`, counted from the latest unlock
/// of any, or as soon as the panel has gone. An entry that is open when the program ends stays open.
class LockCoordinator {
public:
    /// Seconds.
    static constexpr double autoLockInterval = 300;

    /// Both outlive the coordinator.
    LockCoordinator(Store& store, AuthenticationManager& authManager);

    /// Asks the owner and, once confirmed, unlocks the entry until the next relock. An open entry succeeds
    /// and one that has gone fails, both inside the call and without a prompt. Completes once, or never when
    /// the coordinator ends first.
    void requestAccess(const ClipboardItem& item, const std::string& reason,
                       AuthenticationManager::Completion completion);
    /// Requests that wait for the owner complete as cancelled, whatever the owner still answers.
    void breakOff();
    /// Locks every temporarily unlocked entry that is still there and open.
    void relockAll();

    /// Entries to lock again: some may have been deleted or locked meanwhile. Removing one makes its unlock
    /// last.
    std::set<UUID> temporarilyUnlocked;
    bool hasPendingAutoLock() const { return autoLockTimer != nullptr; }

private:
    void restartTimer();

    Store& store;
    AuthenticationManager& authManager;
    std::unique_ptr<NSTimer> autoLockTimer;
    /// How often requests were broken off.
    int breaks = 0;
    Lifetime lifetime;
};

}  // namespace vellumix
