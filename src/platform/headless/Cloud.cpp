#include "platform/headless/Cloud.h"

#include <utility>

namespace vellumix::headless {

CKContainer& Cloud::containerWithIdentifier(std::string_view identifier) {
    identifiers.emplace_back(identifier);
    return *this;
}

void Cloud::checkAccount(AccountVerdict completion) {
    answer([this, completion = std::move(completion)] {
        completion(accountFault.empty() ? "All is right." : accountFault, accountFault.empty());
    });
}

void Cloud::accountStatusWithCompletionHandler(
    std::function<void(CKAccountStatus, std::optional<CKError>)> completionHandler) {
    answer([this, completionHandler = std::move(completionHandler)] {
        completionHandler(status, accountError);
    });
}

void Cloud::saveRecordZone(CKRecordZone zone, Completion completionHandler) {
    zones.push_back(std::move(zone));
    answer([this, completionHandler = std::move(completionHandler)] { completionHandler(zoneError); });
}

void Cloud::saveSubscription(CKRecordZoneSubscription subscription, Completion completionHandler) {
    subscriptions.push_back(std::move(subscription));
    answer(
        [this, completionHandler = std::move(completionHandler)] { completionHandler(subscriptionError); });
}

void Cloud::addOperation(CKFetchRecordZoneChangesOperation operation) {
    fetches.push_back(operation.configuration);
    answer([changes = next, operation = std::move(operation)] {
        for (const auto& record : changes.records) operation.recordWasChangedBlock(record.recordID, record);
        for (const auto& name : changes.deletions) operation.recordWithIDWasDeletedBlock({name});
        if (changes.token && !changes.error) operation.recordZoneFetchResultBlock(*changes.token);
        operation.fetchRecordZoneChangesResultBlock(changes.error);
    });
}

}  // namespace vellumix::headless
