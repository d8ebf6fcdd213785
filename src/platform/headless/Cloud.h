#pragma once

#include <string>
#include <vector>

#include "platform/desktop/CloudKit.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix::headless {

/// A cloud in memory with one database, which answers as a test says. Keeps what was asked.
class Cloud final : public CloudServices, public CKContainer, public CKDatabaseProtocol {
public:
    explicit Cloud(RunLoop& runLoop) : runLoop(runLoop) {}

    bool isCodeValid() const override { return isValid; }
    bool canReach(std::string_view address) const override { return address.starts_with("https://"); }
    void checkAccount(AccountVerdict completion) override;
    void accountDidChange() override { ++accountChanges; }
    CKContainer& containerWithIdentifier(std::string_view identifier) override;
    CKDatabaseProtocol& privateCloudDatabase() override { return *this; }
    void accountStatusWithCompletionHandler(
        std::function<void(CKAccountStatus status, std::optional<CKError> error)> completionHandler) override;
    void saveRecordZone(CKRecordZone zone, Completion completionHandler) override;
    void saveSubscription(CKRecordZoneSubscription subscription, Completion completionHandler) override;
    void addOperation(CKFetchRecordZoneChangesOperation operation) override;

    bool isValid = true;
    CKAccountStatus status = CKAccountStatus::available;
    std::optional<CKError> accountError;
    /// Empty where all is right.
    std::string accountFault;
    int accountChanges = 0;
    std::optional<CKError> zoneError;
    std::optional<CKError> subscriptionError;
    /// Seconds from each question to its answer.
    double delay = 0;

    /// What a fetch brings, as it stands when it is asked for: records, then deletions, then the token of the
    /// zone's end, then the error that ends it.
    struct Changes {
        std::vector<CKRecord> records;
        std::vector<std::string> deletions;
        std::optional<CKServerChangeToken> token;
        std::optional<CKError> error;
    };
    Changes next;

    std::vector<std::string> identifiers;
    std::vector<CKRecordZone> zones;
    std::vector<CKRecordZoneSubscription> subscriptions;
    std::vector<CKFetchRecordZoneChangesConfiguration> fetches;

private:
    void answer(Work work) { runLoop.postAfter(delay, lifetime.weakly(std::move(work))); }

    RunLoop& runLoop;
    Lifetime lifetime;
};

}  // namespace vellumix::headless
