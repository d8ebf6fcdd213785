#include "sync/CloudSyncCoordinator.h"

#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/text/LocalizedText.h"
#include "sync/CloudRecordMapping.h"

namespace vellumix {

namespace {

constexpr Log log("CloudSync");
constexpr std::string_view containerIdentifier = "iCloud.com.tarnwick.Vellumix";
constexpr std::string_view subscriptionIdentifier = "clipboard-changes";

/// As the archive of the token; one that can't be read is none.
struct AsChangeToken {
    static std::optional<CKServerChangeToken> load(std::string_view key, const UserDefaults& defaults) {
        const auto archive = defaults.value<Data>(key);
        return archive ? CKServerChangeToken::unarchived(*archive) : std::nullopt;
    }
    static void save(const CKServerChangeToken& token, std::string_view key, UserDefaults& defaults) {
        defaults.set(key, PropertyValue(token.archived()));
    }
};

const Setting<bool> syncEnabledSetting("settings.iCloudSyncEnabled", false);
const Setting<CKServerChangeToken, AsChangeToken> changeTokenSetting("cloudSyncChangeToken");

bool isUnavailable() {
    const auto& platform = platform::current();
    return platform.processInfo->environment("XCTestConfigurationFilePath") || !platform.cloud->isCodeValid();
}

bool isRefusal(const CKError& error) { return error.code == CKError::serverRejectedRequest; }

}  // namespace

CloudSyncCoordinator::CloudSyncCoordinator(Store& store) : store(store), storeWatch(store.watch()) {
    if (isUnavailable()) {
        log.info("CloudKit unavailable in this process (test/unsigned build) — sync disabled.");
    } else {
        container = &platform::current().cloud->containerWithIdentifier(containerIdentifier);
        database = &container->privateCloudDatabase();
    }
    enabling = syncEnabled.observe([this] { applySyncEnabled(); });
    syncEnabled.set(syncEnabledSetting.get());
}

void CloudSyncCoordinator::applySyncEnabled() {
    syncEnabledSetting.set(*syncEnabled);
    *syncEnabled ? start() : stop();
}

void CloudSyncCoordinator::start() {
    if (!*syncEnabled || !container) return;
    syncState.set({SyncState::Case::checking});
    container->accountStatusWithCompletionHandler(lifetime.weakly(
        [this](CKAccountStatus status, const auto& error) { accountAnswered(status, error); }));
}

void CloudSyncCoordinator::stop() {
    syncTimer.reset();
    syncState.set({SyncState::Case::disabled});
}

void CloudSyncCoordinator::accountAnswered(CKAccountStatus status, const std::optional<CKError>& error) {
    if (error) return fail(*error);
    if (status != CKAccountStatus::available) {
        syncState.set(SyncState::error(localized("sync.noAccount")));
        return log.error(std::string("iCloud account not available: ") + description(status));
    }
    ensureZone();
}

void CloudSyncCoordinator::ensureZone() {
    database->saveRecordZone({zoneID}, lifetime.weakly([this](const std::optional<CKError>& error) {
        if (error && !isRefusal(*error)) return fail(*error);
        ensureSubscription();
    }));
}

void CloudSyncCoordinator::ensureSubscription() {
    const CKRecordZoneSubscription subscription{
        .zoneID = zoneID,
        .subscriptionID = std::string(subscriptionIdentifier),
        .notificationInfo = {.shouldSendContentAvailable = true},
    };
    database->saveSubscription(subscription, lifetime.weakly([this](const std::optional<CKError>& error) {
        if (error && !isRefusal(*error)) {
            log.error("Could not create subscription: " + error->localizedDescription);
        }
        fetchChanges(lifetime.weakly([this] {
            syncState.set({SyncState::Case::idle});
            schedulePeriodicFetch();
        }));
    }));
}

void CloudSyncCoordinator::schedulePeriodicFetch() {
    // Sync may have been switched off meanwhile, and a tick would do nothing.
    if (!*syncEnabled) return;
    syncTimer = RunLoop::main().repeatingTimer(fetchInterval, [this] { fetchChanges(); });
}

void CloudSyncCoordinator::fail(const CKError& error) {
    syncState.set(SyncState::error(error.localizedDescription));
    log.error("Cloud sync start failed: " + error.localizedDescription);
}

void CloudSyncCoordinator::fetchChanges(Work completion) {
    if (!*syncEnabled || !database) return completion();
    syncState.set({SyncState::Case::syncing});
    fetchZoneChanges(zoneID, {changeTokenSetting.stored()}, *database,
                     lifetime.weakly([this, completion = std::move(completion)](const auto& result) {
                         fetched(result);
                         completion();
                     }));
}

void CloudSyncCoordinator::fetchZoneChanges(const CKRecordZoneID& zoneID,
                                            CKFetchRecordZoneChangesConfiguration config,
                                            CKDatabaseProtocol& database, FetchResult completion) {
    const auto changes = std::make_shared<Changes>();
    database.addOperation({
        .recordZoneID = zoneID,
        .configuration = std::move(config),
        .recordWasChangedBlock =
            [changes](const CKRecordID&, std::variant<CKRecord, CKError> record) {
                if (auto* const changed = std::get_if<CKRecord>(&record)) {
                    changes->records.push_back(std::move(*changed));
                }
            },
        .recordWithIDWasDeletedBlock = [changes](const CKRecordID& id) { changes->deletions.push_back(id); },
        .recordZoneChangeTokensUpdatedBlock =
            [changes](const CKServerChangeToken& token) { changes->token = token; },
        .recordZoneFetchResultBlock =
            [changes](const std::variant<CKServerChangeToken, CKError>& result) {
                if (const auto* const token = std::get_if<CKServerChangeToken>(&result)) {
                    changes->token = *token;
                }
            },
        .fetchRecordZoneChangesResultBlock =
            [changes, completion = std::move(completion)](const std::optional<CKError>& error) {
                error ? completion(*error) : completion(std::move(*changes));
            },
    });
}

void CloudSyncCoordinator::fetched(const std::variant<Changes, CKError>& result) {
    if (const auto* const error = std::get_if<CKError>(&result)) {
        syncState.set(SyncState::error(error->localizedDescription));
        return log.error("Fetch changes failed: " + error->localizedDescription);
    }
    if (storeWatch.expired()) return;
    const auto& changes = std::get<Changes>(result);
    store.changeTogether([&] { apply(changes); });
    if (changes.token) changeTokenSetting.set(*changes.token);
    lastFetch = RunLoop::main().now();
    syncState.set({SyncState::Case::idle});
}

void CloudSyncCoordinator::apply(const Changes& changes) {
    for (const auto& record : changes.records) {
        auto item = itemFromRecord(record);
        if (!item || store.item(item->id)) continue;
        if (const auto excess = store.excessOf(*item)) {
            log.error("A record was left out: " + std::string(rawValue(*excess)));
            continue;
        }
        store.add(std::move(*item));
    }
    for (const auto& deleted : changes.deletions) {
        const auto id = UUID::parse(deleted.recordName);
        const auto item = id ? store.item(*id) : std::nullopt;
        if (item) store.remove(*item);
    }
}

}  // namespace vellumix
