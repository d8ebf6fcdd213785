#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/history/Store.h"
#include "platform/desktop/CloudKit.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// How things stand with the cloud.
struct SyncState {
    enum class Case {
        /// Sync isn't running.
        disabled,
        /// A start is under way.
        checking,
        /// A fetch is under way.
        syncing,
        /// The last run has ended.
        idle,
        error,
    };

    Case stands = Case::disabled;
    /// With `error`: what to show to the user, unchanged; else empty.
    std::string text;

    static SyncState error(std::string text) { return {Case::error, std::move(text)}; }
    friend bool operator==(const SyncState&, const SyncState&) = default;
};

/// Brings entries from the user's private cloud database into the history: at its start, and every minute
/// from then on. Writes nothing there but the zone and the subscription. Where both sides have an entry, the
/// history's own stays as it is. Main thread only.
class CloudSyncCoordinator {
public:
    static constexpr double fetchInterval = 60;

    /// Starts at once where sync is switched on. Without leave to use the cloud it stays off for good,
    /// whatever the switch says.
    explicit CloudSyncCoordinator(Store& store);
    CloudSyncCoordinator(const CloudSyncCoordinator&) = delete;
    CloudSyncCoordinator& operator=(const CloudSyncCoordinator&) = delete;

    Published<SyncState> syncState;
    /// Each assignment stores it and starts or stops.
    Published<bool> syncEnabled;
    /// Of the last fetch whose changes were applied, in this process.
    std::optional<Date> lastFetch;

    /// Asks for the account, makes sure of the zone and the subscription, fetches, and goes on fetching. What
    /// fails before the first fetch ends it until the next start. Does nothing while switched off.
    void start();
    /// No fetch begins after this. One that is under way runs to its end, and its result counts.
    void stop();
    /// Calls back once, when the fetch has ended and `syncState` tells how; inside the call where sync is
    /// off.
    void fetchChanges(Work completion = [] {});

private:
    /// What a fetch has brought.
    struct Changes {
        std::vector<CKRecord> records;
        std::vector<CKRecordID> deletions;
        std::optional<CKServerChangeToken> token;
    };
    using FetchResult = std::function<void(std::variant<Changes, CKError> result)>;

    void applySyncEnabled();
    void accountAnswered(CKAccountStatus status, const std::optional<CKError>& error);
    void ensureZone();
    void ensureSubscription();
    void schedulePeriodicFetch();
    void fail(const CKError& error);
    static void fetchZoneChanges(const CKRecordZoneID& zoneID, CKFetchRecordZoneChangesConfiguration config,
                                 CKDatabaseProtocol& database, FetchResult completion);
    void fetched(const std::variant<Changes, CKError>& result);
    void apply(const Changes& changes);

    Store& store;
    const std::weak_ptr<const void> storeWatch;
    /// Absent where the cloud may not be used.
    CKContainer* container = nullptr;
    const CKRecordZoneID zoneID{.zoneName = "ClipboardHistory"};
    /// Present with `container`.
    CKDatabaseProtocol* database = nullptr;
    std::unique_ptr<NSTimer> syncTimer;
    Observation enabling;
    Lifetime lifetime;
};

}  // namespace vellumix
