#include "platform/linux/cloud/CouchDatabase.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/linux/cloud/ChangesFetch.h"

namespace vellumix::linux_desktop {

namespace {

/// Of the one zone that the program has.
constexpr std::string_view databaseName = "clipboardhistory";

CKError alreadyThere() { return {.code = CKError::serverRejectedRequest}; }
/// Why there is no account to be had.
CKError lackOf(const std::variant<std::monostate, CouchAccount, CKError>& account) {
    const auto* const error = std::get_if<CKError>(&account);
    return error ? *error : CKError{.localizedDescription = localized("sync.noAccount")};
}

/// A server of the protocol greets whoever asks for its root, each under its own name.
bool isWelcome(const CouchAnswer& answer) {
    const auto value = answer.object();
    if (answer.status != 200 || !value) return false;
    return std::ranges::any_of(std::get<JsonValue::Object>(value->value), [](const auto& member) {
        const auto* const text = std::get_if<std::string>(&member.second.value);
        return text && text->starts_with("Welcome");
    });
}

using Verdict = std::function<void(std::optional<CloudFailure> failure, bool hasDatabase)>;

Task examine(CouchRequests& requests, CouchAccount account, Verdict tell) {
    const auto welcome = co_await requests.ask(account, "");
    if (welcome.error) co_return tell(failureOf(*welcome.error), false);
    if (welcome.status == 401) co_return tell(CloudFailure::wrongPassword, false);
    if (welcome.status >= 500) co_return tell(CloudFailure::serverFailed, false);
    if (!isWelcome(welcome)) co_return tell(CloudFailure::notCouch, false);
    if (!account.credential.user.empty()) {
        const auto session = co_await requests.ask(account, "_session");
        if (session.error) co_return tell(failureOf(*session.error), false);
        if (!session.isOfKnownUser())
            co_return tell(session.status == 401 || session.status == 200 ? CloudFailure::wrongPassword
                                                                          : failureOfStatus(session.status),
                           false);
    }
    const auto database = co_await requests.ask(account, databaseName);
    if (database.error) co_return tell(failureOf(*database.error), false);
    // Where it isn't there yet, it is made when the zone is saved.
    if (database.status == 200 || database.status == 404) co_return tell({}, database.status == 200);
    tell(failureOfStatus(database.status), false);
}

}  // namespace

void CouchContainer::accountStatusWithCompletionHandler(
    std::function<void(CKAccountStatus, std::optional<CKError>)> completionHandler) {
    answerStatus(std::move(completionHandler));
}

void CouchContainer::saveRecordZone(CKRecordZone zone, Completion completionHandler) {
    save(std::move(zone), std::move(completionHandler));
}

void CouchContainer::saveSubscription(CKRecordZoneSubscription subscription, Completion completionHandler) {
    save(std::move(subscription), std::move(completionHandler));
}

void CouchContainer::addOperation(CKFetchRecordZoneChangesOperation operation) {
    const auto account = source();
    if (const auto* const there = std::get_if<CouchAccount>(&account)) {
        ChangesFetch::run(runLoop, requests, assets, *there, std::move(operation));
    } else {
        fail(std::move(operation), lackOf(account));
    }
}

Task CouchContainer::answerStatus(std::function<void(CKAccountStatus, std::optional<CKError>)> tell) {
    const auto account = source();
    const auto* const there = std::get_if<CouchAccount>(&account);
    if (there) {
        examine(requests, *there, [tell, account = *there](auto failure, bool) {
            if (!failure) return tell(CKAccountStatus::available, std::nullopt);
            tell(CKAccountStatus::couldNotDetermine, errorFor(*failure, account));
        });
        co_return;
    }
    co_await requests.nextTurn();
    if (const auto* const error = std::get_if<CKError>(&account)) {
        tell(CKAccountStatus::couldNotDetermine, *error);
    } else {
        tell(CKAccountStatus::noAccount, std::nullopt);
    }
}

Task CouchContainer::save(CKRecordZone zone, Completion tell) {
    const auto present = source();
    const auto* const account = std::get_if<CouchAccount>(&present);
    if (!account) {
        co_await requests.nextTurn();
        co_return tell(lackOf(present));
    }
    const auto path = databaseOf(zone.zoneID);
    auto answer = co_await requests.ask(*account, path);
    if (!answer.error && answer.status == 200) co_return tell(alreadyThere());
    if (!answer.error && answer.status == 404) {
        answer = co_await requests.ask(*account, path, "PUT");
        // Somebody else may have been faster.
        if (answer.status == 412) co_return tell(alreadyThere());
    }
    if (answer.error) co_return tell(errorFor(failureOf(*answer.error), *account));
    if (answer.status >= 200 && answer.status < 300) co_return tell(std::nullopt);
    tell(errorFor(failureOfStatus(answer.status), *account));
}

Task CouchContainer::save(CKRecordZoneSubscription subscription, Completion tell) {
    const auto present = source();
    const auto* const account = std::get_if<CouchAccount>(&present);
    if (!account) {
        co_await requests.nextTurn();
        co_return tell(lackOf(present));
    }
    const auto path = databaseOf(subscription.zoneID) + "/_local/" + subscription.subscriptionID;
    const auto answer = co_await requests.ask(*account, path, "PUT", "{\"type\":\"subscription\"}");
    if (answer.error) co_return tell(errorFor(failureOf(*answer.error), *account));
    if (answer.status == 409) co_return tell(alreadyThere());
    if (answer.status >= 200 && answer.status < 300) co_return tell(std::nullopt);
    tell(errorFor(failureOfStatus(answer.status), *account));
}

Task CouchContainer::fail(CKFetchRecordZoneChangesOperation operation, CKError error) {
    co_await requests.nextTurn();
    operation.recordZoneFetchResultBlock(error);
    operation.fetchRecordZoneChangesResultBlock(error);
}

CouchAccountCheck::CouchAccountCheck(RunLoop& runLoop, NSURLSession& session, CouchAccount account,
                                     Completion completion)
    : requests(runLoop, session) {
    examine(requests, account, [account, completion = std::move(completion)](auto failure, bool hasDatabase) {
        const auto server = serverName(account);
        completion(failure       ? sentenceFor(*failure, account)
                   : hasDatabase ? localized("cloud.accountIsRight", server)
                                 : localized("cloud.accountIsNew", server),
                   !failure);
    });
}

}  // namespace vellumix::linux_desktop
