#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/loop/Date.h"

/// A person's private database in the cloud: a feed of changed records, asked for from a token on. Main
/// thread; waits for nobody. Every completion is called once, on a later turn of the loop, or dropped
/// uncalled when the platform ends.
namespace vellumix {

/// Whether there is an account with the cloud, and whether it can be used now.
enum class CKAccountStatus { couldNotDetermine = 0, available = 1, restricted = 2, noAccount = 3 };
/// For the log.
constexpr const char* description(CKAccountStatus status) {
    switch (status) {
        case CKAccountStatus::couldNotDetermine:
            return "could not determine";
        case CKAccountStatus::available:
            return "available";
        case CKAccountStatus::restricted:
            return "restricted";
        case CKAccountStatus::noAccount:
            return "no account";
    }
    return "";
}

struct CKError {
    /// What is to be made is there already.
    static constexpr int serverRejectedRequest = 15;
    /// Any other failure.
    static constexpr int internalError = 1;

    int code = internalError;
    /// One sentence in the user's language; never content, never a password.
    std::string localizedDescription;
};

inline constexpr std::string_view CKCurrentUserDefaultName = "__defaultOwner__";

struct CKRecordZoneID {
    std::string zoneName;
    std::string ownerName = std::string(CKCurrentUserDefaultName);

    friend bool operator==(const CKRecordZoneID&, const CKRecordZoneID&) = default;
};

struct CKRecordZone {
    CKRecordZoneID zoneID;
};

struct CKNotificationInfo {
    bool shouldSendContentAvailable = false;
};

/// Asks the database to tell of changes in a zone.
struct CKRecordZoneSubscription {
    CKRecordZoneID zoneID;
    std::string subscriptionID;
    CKNotificationInfo notificationInfo;
};

struct CKRecordID {
    std::string recordName;
};

/// Bytes beside a record, in a private file that is there as long as any copy of this.
struct CKAsset {
    std::optional<URL> fileURL;
    /// Removes the file when it goes.
    std::shared_ptr<const void> file;
};

using CKRecordValue = std::variant<std::string, Date, std::int64_t, double, bool, Data, CKAsset>;

struct CKRecord {
    CKRecordID recordID;
    std::map<std::string, CKRecordValue, std::less<>> values;

    /// Null where the key is absent or holds another type.
    template <class T>
    const T* value(std::string_view key) const {
        const auto found = values.find(key);
        return found == values.end() ? nullptr : std::get_if<T>(&found->second);
    }
};

/// Where a reader of a zone's changes stands: what the database gave, and nobody else reads.
struct CKServerChangeToken {
    Data opaque;

    /// To be kept and read back by a later version of the program.
    Data archived() const;
    /// Nothing for what is no archived token.
    static std::optional<CKServerChangeToken> unarchived(const Data& archive);

    friend bool operator==(const CKServerChangeToken&, const CKServerChangeToken&) = default;
};

struct CKFetchRecordZoneChangesConfiguration {
    /// Without one, the zone is told from its beginning.
    std::optional<CKServerChangeToken> previousServerChangeToken;
};

/// Fetches every change of one zone until the database has no more. Its blocks are called in the order of the
/// changes, the last of them `fetchRecordZoneChangesResultBlock`, once.
struct CKFetchRecordZoneChangesOperation {
    CKRecordZoneID recordZoneID;
    CKFetchRecordZoneChangesConfiguration configuration;

    /// The record, or why this one could not be had.
    std::function<void(const CKRecordID& id, std::variant<CKRecord, CKError> record)> recordWasChangedBlock;
    std::function<void(const CKRecordID& id)> recordWithIDWasDeletedBlock;
    std::function<void(const CKServerChangeToken& token)> recordZoneChangeTokensUpdatedBlock;
    /// The token of the zone's end, or why there is none.
    std::function<void(std::variant<CKServerChangeToken, CKError> result)> recordZoneFetchResultBlock;
    /// Nothing, or why the fetch failed.
    std::function<void(std::optional<CKError> error)> fetchRecordZoneChangesResultBlock;
};

/// What of a cloud database the program uses.
class CKDatabaseProtocol {
public:
    using Completion = std::function<void(std::optional<CKError> error)>;

    virtual ~CKDatabaseProtocol() = default;
    /// `serverRejectedRequest` where the zone is there.
    virtual void saveRecordZone(CKRecordZone zone, Completion completionHandler) = 0;
    /// `serverRejectedRequest` where the subscription is there.
    virtual void saveSubscription(CKRecordZoneSubscription subscription, Completion completionHandler) = 0;
    virtual void addOperation(CKFetchRecordZoneChangesOperation operation) = 0;
};

/// A program's place in the cloud. The account may come, change and go at any time; each request is made with
/// the one that is there when it begins.
class CKContainer {
public:
    virtual ~CKContainer() = default;
    virtual CKDatabaseProtocol& privateCloudDatabase() = 0;
    virtual void accountStatusWithCompletionHandler(
        std::function<void(CKAccountStatus status, std::optional<CKError> error)> completionHandler) = 0;
};

/// Where containers come from.
class CloudServices {
public:
    virtual ~CloudServices() = default;
    /// Whether nobody but this user and the superuser can change the program that runs. A password isn't
    /// given to one that others can change.
    virtual bool isCodeValid() const = 0;
    /// Whether an account can have this address.
    virtual bool canReach(std::string_view address) const = 0;
    /// One sentence for the user, and whether it is good news.
    using AccountVerdict = std::function<void(const std::string& sentence, bool isGood)>;
    /// Asks the server of the stored account whether all is right with it. One question at a time.
    virtual void checkAccount(AccountVerdict completion) = 0;
    /// The stored account or its password is another one: what is remembered of them is forgotten.
    virtual void accountDidChange() = 0;
    /// The one of the program. Touches neither the network nor the keychain.
    virtual CKContainer& containerWithIdentifier(std::string_view identifier) = 0;
};

}  // namespace vellumix
