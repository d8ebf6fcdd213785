#include "protection/LockCoordinator.h"

#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Status = AuthenticationManager::Result::Status;

class LockCoordinatorTest : public HeadlessTest {
protected:
    LockCoordinatorTest() {
        desktop.authentication.refusal.reset();
        desktop.authentication.answer = {.isOwner = true, .error = {}};
        for (const auto* text : {"second", "first"}) {
            store.add(textItem(text));
            store.setLocked(store.items()->front(), true);
        }
    }
    ClipboardItem first() { return store.items()->front(); }
    ClipboardItem second() { return store.items()->back(); }
    /// What a request is answered by; nothing while it is open.
    std::optional<Status> request(const ClipboardItem& item) {
        std::optional<Status> status;
        coordinator.requestAccess(item, "to see it", [&](const auto& result) { status = result.status; });
        desktop.runLoop.settle();
        return status;
    }

    Store store;
    AuthenticationManager manager;
    LockCoordinator coordinator{store, manager};
};

TEST_F(LockCoordinatorTest, AsksTheOwnerAndLocksAgainByTime) {
    EXPECT_EQ(request(first()), Status::success);
    EXPECT_EQ(first()._text, String("first"));
    desktop.runLoop.advance(200);
    EXPECT_EQ(request(second()), Status::success);
    EXPECT_EQ(desktop.authentication.reasons, (std::vector<std::string>{"to see it", "to see it"}));
    desktop.runLoop.advance(299);
    EXPECT_FALSE(first().locked) << "the later unlocking moves the time of both";
    desktop.runLoop.advance(2);
    EXPECT_TRUE(first().locked && first().isEncrypted && second().locked);
    EXPECT_FALSE(coordinator.isAutoLockPending());
}

TEST_F(LockCoordinatorTest, WhatWasKeptDeletedOrLockedByOthersIsLeftAlone) {
    request(first());
    request(second());
    coordinator.keepUnlocked(first());
    store.remove(second());
    coordinator.relockAll();
    EXPECT_FALSE(first().locked);
    EXPECT_FALSE(coordinator.isAutoLockPending());
    EXPECT_EQ(request(first()), Status::success);
    EXPECT_EQ(desktop.authentication.reasons.size(), 2u) << "an open entry asks nobody";
    EXPECT_FALSE(coordinator.isTemporarilyUnlocked(first()));
}

TEST_F(LockCoordinatorTest, ARefusalChangesNothing) {
    struct Case {
        bool isOwner;
        std::optional<LAError> error;
        Status status;
    };
    const Case cases[] = {{false, LAError::userCancel, Status::cancelled},
                          {false, LAError::systemCancel, Status::cancelled},
                          {false, LAError::appCancel, Status::cancelled},
                          {false, LAError::userFallback, Status::failed},
                          {false, LAError::authenticationFailed, Status::failed},
                          {false, std::nullopt, Status::failed}};
    for (const auto& [isOwner, error, status] : cases) {
        desktop.authentication.answer = {isOwner, error};
        EXPECT_EQ(request(first()), status);
        EXPECT_TRUE(first().locked);
        EXPECT_FALSE(coordinator.isAutoLockPending());
    }
    desktop.authentication.refusal = LAError::passcodeNotSet;
    const auto asked = desktop.authentication.reasons.size();
    EXPECT_EQ(request(first()), Status::unavailable);
    const auto gone = first();
    store.remove(gone);
    EXPECT_EQ(request(gone), Status::failed);
    EXPECT_EQ(desktop.authentication.reasons.size(), asked) << "nobody was asked";
}

TEST_F(LockCoordinatorTest, AnAnswerAfterTheEntryHasChangedUnlocksNothing) {
    std::optional<Status> status;
    coordinator.requestAccess(first(), "to see it", [&](const auto& result) { status = result.status; });
    store.togglePin(first());
    desktop.runLoop.settle();
    EXPECT_EQ(status, Status::success);
    EXPECT_TRUE(first().locked) << "the entry that was asked for is another one now";
    coordinator.relockAll();
    EXPECT_TRUE(first().locked);
}

}  // namespace
}  // namespace vellumix
