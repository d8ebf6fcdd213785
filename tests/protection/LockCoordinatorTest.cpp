#include "protection/LockCoordinator.h"

#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Status = AuthenticationManager::Result::Status;

class LockCoordinatorTest : public HeadlessTest {
protected:
    LockCoordinatorTest() {
        desktop.authentication.refusal.reset();
        for (const auto* text : {"one", "two"}) {
            store.add(textItem(text));
            store.setLocked(store.items()->front(), true);
        }
        two = store.items().get()[0].id;
        one = store.items().get()[1].id;
    }
    ClipboardItem entry(const UUID& id) const { return *store.item(id); }
    void request(const ClipboardItem& item) {
        coordinator->requestAccess(item, "Because.",
                                   [this](const auto& result) { results.push_back(result); });
    }
    void unlock(const UUID& id) {
        request(entry(id));
        ASSERT_TRUE(desktop.authentication.answer(true));
        desktop.runLoop.advance(0);
        ASSERT_FALSE(entry(id).locked);
    }

    Store store;
    AuthenticationManager manager;
    std::unique_ptr<LockCoordinator> coordinator = std::make_unique<LockCoordinator>(store, manager);
    UUID one;
    UUID two;
    std::vector<AuthenticationManager::Result> results;
};

TEST_F(LockCoordinatorTest, EveryAnswerButYesLeavesTheEntryLocked) {
    const LAError elsewhere{.domain = "Elsewhere", .code = LAError::userCancel};
    const struct {
        std::optional<LAError> error;
        Status status;
    } answers[] = {
        {LAError{.code = LAError::userCancel}, Status::cancelled},
        {LAError{.code = LAError::systemCancel}, Status::cancelled},
        {LAError{.code = LAError::appCancel}, Status::cancelled},
        {LAError{.code = LAError::authenticationFailed}, Status::failed},
        {LAError{.code = LAError::userFallback}, Status::failed},
        {elsewhere, Status::failed},
        {std::nullopt, Status::failed},
    };
    for (const auto& [error, status] : answers) {
        results.clear();
        request(entry(one));
        ASSERT_EQ(desktop.authentication.prompts.size(), 1U);
        EXPECT_EQ(desktop.authentication.prompts.front().reason, "Because.");
        EXPECT_EQ(desktop.authentication.prompts.front().cancelTitle, "Cancel");
        EXPECT_EQ(desktop.authentication.prompts.front().fallbackTitle, "Enter Password");
        desktop.authentication.answer(false, error);
        EXPECT_TRUE(results.empty()) << "the answer comes on the main loop";
        desktop.runLoop.advance(0);
        ASSERT_EQ(results.size(), 1U);
        EXPECT_EQ(results[0].status, status);
        EXPECT_EQ(results[0].error, error);
    }
    desktop.authentication.refusal = LAError{.code = LAError::passcodeNotSet};
    request(entry(one));
    EXPECT_EQ(results.back().status, Status::unavailable);
    EXPECT_EQ(results.back().error, desktop.authentication.refusal);
    EXPECT_TRUE(desktop.authentication.prompts.empty());

    EXPECT_TRUE(entry(one).isEncrypted);
    EXPECT_TRUE(coordinator->temporarilyUnlocked.empty());
    EXPECT_FALSE(coordinator->hasPendingAutoLock());
}

TEST_F(LockCoordinatorTest, WhatIsBrokenOffIsCancelledAlsoWhenTheOwnerHasJustAnswered) {
    request(entry(one));
    request(entry(two));
    desktop.authentication.answer(true);
    coordinator->breakOff();
    EXPECT_TRUE(desktop.authentication.prompts.empty()) << "nobody is asked any more";
    desktop.runLoop.advance(0);
    ASSERT_EQ(results.size(), 2U);
    for (const auto& result : results) EXPECT_EQ(result.status, Status::cancelled);
    EXPECT_TRUE(entry(one).locked);
    EXPECT_TRUE(coordinator->temporarilyUnlocked.empty());
    unlock(two);
    EXPECT_EQ(results.back().status, Status::success) << "the next one is asked as ever";
}

TEST_F(LockCoordinatorTest, WhatIsOpenOrGoneNeedsNoPrompt) {
    const auto gone = entry(two);
    store.remove(gone);
    request(gone);
    EXPECT_EQ(results.back().status, Status::failed);
    EXPECT_FALSE(results.back().error);

    unlock(one);
    desktop.runLoop.advance(200);
    request(entry(one));
    EXPECT_EQ(results.back().status, Status::success);
    EXPECT_TRUE(desktop.authentication.prompts.empty());
    desktop.runLoop.advance(101);
    EXPECT_TRUE(entry(one).locked) << "asking for an open entry gives it no more time";
}

TEST_F(LockCoordinatorTest, TheLatestUnlockSetsTheTimeForAll) {
    unlock(one);
    EXPECT_EQ(entry(one)._text->string(), "one");
    desktop.runLoop.advance(200);
    unlock(two);
    desktop.runLoop.advance(299);
    EXPECT_FALSE(entry(one).locked);
    EXPECT_FALSE(entry(two).locked);
    desktop.runLoop.advance(2);
    EXPECT_TRUE(entry(one).isEncrypted);
    EXPECT_TRUE(entry(two).isEncrypted);
    EXPECT_TRUE(coordinator->temporarilyUnlocked.empty());
    EXPECT_FALSE(coordinator->hasPendingAutoLock());
}

TEST_F(LockCoordinatorTest, ARelockCopesWithWhatHappenedMeanwhile) {
    unlock(one);
    unlock(two);
    coordinator->temporarilyUnlocked.erase(one);
    store.remove(entry(two));
    coordinator->relockAll();
    EXPECT_FALSE(entry(one).locked) << "its unlock was made to last";
    EXPECT_FALSE(coordinator->hasPendingAutoLock());

    store.setLocked(entry(one), true);
    const auto stale = entry(one);
    request(stale);
    store.togglePin(stale);
    desktop.authentication.answer(true);
    desktop.runLoop.advance(0);
    EXPECT_EQ(results.back().status, Status::success);
    EXPECT_TRUE(entry(one).isEncrypted) << "a stale copy unlocks nothing";
    EXPECT_TRUE(coordinator->temporarilyUnlocked.contains(one));
    coordinator->relockAll();
    EXPECT_EQ(entry(one).text()->string(), "one");
}

TEST_F(LockCoordinatorTest, APromptOutlivesTheRelockAndTheEntryItIsFor) {
    unlock(one);
    request(entry(two));
    desktop.runLoop.advance(301);
    EXPECT_TRUE(entry(one).isEncrypted) << "an open prompt holds up no auto-lock";
    coordinator->relockAll();
    desktop.authentication.answer(true);
    desktop.runLoop.advance(0);
    EXPECT_EQ(entry(two)._text->string(), "two");
    desktop.runLoop.advance(301);
    EXPECT_TRUE(entry(two).isEncrypted) << "also where nobody closes a panel";

    request(entry(one));
    store.remove(entry(one));
    desktop.authentication.answer(true);
    desktop.runLoop.advance(0);
    EXPECT_EQ(results.back().status, Status::success);
    EXPECT_EQ(store.items()->size(), 1U);
    coordinator->relockAll();
    EXPECT_TRUE(entry(two).isEncrypted);
}

TEST_F(LockCoordinatorTest, AKeyringLockedMeanwhileShowsNothingAndLosesNothing) {
    request(entry(one));
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    desktop.authentication.answer(true);
    desktop.runLoop.advance(0);
    EXPECT_TRUE(entry(one).isEncrypted);
    EXPECT_FALSE(entry(one).text());
    coordinator->relockAll();
    EXPECT_TRUE(entry(one).locked);
    desktop.keychain.refusal.reset();
    unlock(one);
    EXPECT_EQ(entry(one).text()->string(), "one");
}

TEST_F(LockCoordinatorTest, AnAnswerAfterTheEndUnlocksNothing) {
    request(entry(one));
    coordinator.reset();
    desktop.authentication.answer(true);
    desktop.runLoop.advance(0);
    EXPECT_TRUE(entry(one).locked);
    EXPECT_TRUE(results.empty());
}

}  // namespace
}  // namespace vellumix
