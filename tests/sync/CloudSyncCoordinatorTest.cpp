#include "sync/CloudSyncCoordinator.h"

#include "platform/foundation/text/LocalizedText.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Case = SyncState::Case;

constexpr const char* first = "00000000-0000-4000-8000-000000000001";
constexpr const char* second = "00000000-0000-4000-8000-000000000002";

CKRecord record(const std::string& name, const std::string& text) {
    return {{name}, {{"kind", "text"}, {"createdAt", Date{1}}, {"text", text}}};
}
CKServerChangeToken token(std::string_view words) { return {Data(words)}; }

class CloudSyncCoordinatorTest : public HeadlessTest {
protected:
    CloudSyncCoordinatorTest() { UserDefaults::standard().set("settings.iCloudSyncEnabled", true); }

    CloudSyncCoordinator& coordinator() {
        if (!made) made.emplace(store);
        return *made;
    }
    SyncState state() { return *coordinator().syncState; }
    std::vector<std::string> texts() { return textsOf(store.items().get()); }
    void pass(double seconds) { desktop.runLoop.advance(seconds); }
    std::optional<CKServerChangeToken> lastSince() {
        return desktop.cloud.fetches.back().previousServerChangeToken;
    }

    Store store;
    std::optional<CloudSyncCoordinator> made;
};

TEST_F(CloudSyncCoordinatorTest, AStartPreparesFetchesAndGoesOn) {
    desktop.cloud.delay = 1;
    desktop.cloud.next = {.records = {record(first, "one")}, .token = token("1")};
    EXPECT_EQ(state(), SyncState{Case::checking});
    pass(1);
    EXPECT_EQ(desktop.cloud.zones.back().zoneID, (CKRecordZoneID{"ClipboardHistory", "__defaultOwner__"}));
    pass(1);
    const auto& subscription = desktop.cloud.subscriptions.back();
    EXPECT_EQ(subscription.subscriptionID, "clipboard-changes");
    EXPECT_TRUE(subscription.notificationInfo.shouldSendContentAvailable);
    pass(1);
    EXPECT_EQ(state(), SyncState{Case::syncing});
    EXPECT_TRUE(texts().empty()) << "nothing before the fetch has ended";
    EXPECT_FALSE(lastSince());
    pass(1);
    EXPECT_EQ(state(), SyncState{Case::idle});
    EXPECT_EQ(texts(), std::vector<std::string>{"one"});
    EXPECT_EQ(coordinator().lastFetch, desktop.runLoop.now());
    EXPECT_EQ(desktop.cloud.identifiers, std::vector<std::string>{"iCloud.com.tarnwick.Vellumix"});

    pass(60);
    EXPECT_EQ(state(), SyncState{Case::syncing});
    EXPECT_EQ(lastSince(), token("1"));
    EXPECT_EQ(desktop.cloud.zones.size(), 1U) << "a tick prepares nothing";
    pass(2);
    made.reset();
    made.emplace(store);
    pass(4);
    EXPECT_EQ(lastSince(), token("1")) << "the token is kept";
}

TEST_F(CloudSyncCoordinatorTest, WhatIsHereWinsAndWhatIsDeletedThereGoes) {
    auto own = textItem("own words");
    own.pinned = own.locked = true;
    store.add(own);
    const auto name = own.id.uuidString();
    desktop.cloud.next = {.records = {record(name, "other words"), record(first, "one"), record("x", "lost"),
                                      record(second, "two"), record(second, "again")},
                          .deletions = {first, "no UUID", "00000000-0000-4000-8000-00000000000F"}};
    int changes = 0;
    const auto counting = store.observeItems([&] { ++changes; });
    coordinator();
    pass(1);
    EXPECT_EQ(texts(), (std::vector<std::string>{"two", "-"}))
        << "the first of two, and what came and went in one fetch isn't there";
    EXPECT_LE(changes, 2) << "seen as one change (and one more that enciphers the locked entry)";

    desktop.cloud.next = {.records = {record(second, "later")}, .deletions = {name}};
    pass(60);
    EXPECT_EQ(texts(), std::vector<std::string>{"two"}) << "pinned and locked protect from no deletion";
    store.remove(store.items().get()[0]);
    desktop.cloud.next = {};
    pass(60);
    EXPECT_TRUE(texts().empty()) << "what was deleted here doesn't come back by itself";
    desktop.cloud.next = {.records = {record(second, "later")}};
    pass(60);
    EXPECT_EQ(texts(), std::vector<std::string>{"later"});
}

TEST_F(CloudSyncCoordinatorTest, EachFailureIsTold) {
    const CKError refused{.code = CKError::serverRejectedRequest, .localizedDescription = "there already"};
    const CKError other{.localizedDescription = "The server is asleep."};
    struct Story {
        const char* what;
        std::function<void(headless::Cloud&)> prepare;
        SyncState state;
        const char* line;
        /// Whether a fetch was made, and made again a minute later.
        int fetches;
    };
    const auto error = SyncState::error(other.localizedDescription);
    const SyncState idle{Case::idle};
    const Story stories[] = {
        {"the account can't be asked", [&](auto& cloud) { cloud.accountError = other; }, error,
         "CloudSync: Cloud sync start failed: The server is asleep.", 0},
        {"no account", [](auto& cloud) { cloud.status = CKAccountStatus::noAccount; },
         SyncState::error(localized("sync.noAccount")), "CloudSync: iCloud account not available: no account",
         0},
        {"the zone can't be made", [&](auto& cloud) { cloud.zoneError = other; }, error,
         "CloudSync: Cloud sync start failed: The server is asleep.", 0},
        {"zone and subscription are there",
         [&](auto& cloud) { cloud.zoneError = cloud.subscriptionError = refused; }, idle, nullptr, 2},
        {"the subscription can't be made", [&](auto& cloud) { cloud.subscriptionError = other; }, idle,
         "CloudSync: Could not create subscription: The server is asleep.", 2},
        {"the first fetch fails", [&](auto& cloud) { cloud.next.error = other; }, idle,
         "CloudSync: Fetch changes failed: The server is asleep.", 2},
    };
    for (const auto& story : stories) {
        SCOPED_TRACE(story.what);
        desktop.log.lines.clear();
        auto& cloud = desktop.cloud;
        cloud.accountError = cloud.zoneError = cloud.subscriptionError = std::nullopt;
        cloud.status = CKAccountStatus::available;
        cloud.fetches.clear();
        cloud.next = {.records = {record(first, "one")}, .token = token("1")};
        story.prepare(cloud);
        made.emplace(store);
        pass(1);
        EXPECT_EQ(state(), story.state);
        EXPECT_EQ(desktop.log.lines,
                  story.line ? std::vector<std::string>{story.line} : std::vector<std::string>());
        pass(60);
        EXPECT_EQ(cloud.fetches.size(), static_cast<std::size_t>(story.fetches));
        if (cloud.next.error) {
            EXPECT_EQ(state(), error) << "a tick that fails says so";
            EXPECT_TRUE(texts().empty()) << "nothing of a failed fetch is applied";
            EXPECT_FALSE(lastSince()) << "and its token isn't kept";
        }
        made.reset();
        UserDefaults::standard().remove("cloudSyncChangeToken");
        store.clear();
    }
}

TEST_F(CloudSyncCoordinatorTest, TheSwitchStartsAndStops) {
    UserDefaults::standard().set("settings.iCloudSyncEnabled", "yes");
    EXPECT_EQ(state(), SyncState{Case::disabled}) << "a word is no switch";
    coordinator().start();
    pass(120);
    EXPECT_TRUE(desktop.cloud.fetches.empty());
    EXPECT_EQ(desktop.runLoop.pending(), 0U) << "switched off, it costs nothing";

    desktop.cloud.delay = 1;
    coordinator().syncEnabled.set(true);
    pass(3.5);
    EXPECT_EQ(state(), SyncState{Case::syncing});
    desktop.cloud.next = {};
    coordinator().syncEnabled.set(false);
    EXPECT_EQ(state(), SyncState{Case::disabled});
    EXPECT_EQ(UserDefaults::standard().value<bool>("settings.iCloudSyncEnabled"), false);
    pass(1);
    EXPECT_EQ(state(), SyncState{Case::idle}) << "the fetch that was under way ended";
    pass(300);
    EXPECT_EQ(desktop.cloud.fetches.size(), 1U);
    EXPECT_EQ(desktop.runLoop.pending(), 0U) << "the start that ended behind the switch left no timer";

    coordinator().syncEnabled.set(true);
    coordinator().start();
    pass(5);
    pass(60);
    EXPECT_EQ(desktop.cloud.fetches.size(), 4U) << "two starts, and one timer";
}

TEST_F(CloudSyncCoordinatorTest, WhereTheCloudMayNotBeUsedNothingIsTouched) {
    for (const bool isTest : {true, false}) {
        desktop.processInfo.variables.clear();
        if (isTest) desktop.processInfo.variables["XCTestConfigurationFilePath"] = "";
        desktop.cloud.isValid = isTest;
        made.emplace(store);
        pass(120);
        EXPECT_TRUE(*coordinator().syncEnabled);
        EXPECT_EQ(state(), SyncState{Case::disabled});
        EXPECT_EQ(desktop.log.lines.back(),
                  "CloudSync: CloudKit unavailable in this process (test/unsigned build) — sync disabled.");
    }
    EXPECT_TRUE(desktop.cloud.identifiers.empty());
}

TEST_F(CloudSyncCoordinatorTest, ATokenThatCannotBeReadIsNone) {
    UserDefaults::standard().set("cloudSyncChangeToken", PropertyValue(Data("not an archive")));
    desktop.cloud.next.token = token("{\"any\": \"bytes\"}");
    coordinator();
    pass(1);
    EXPECT_FALSE(lastSince());
    desktop.cloud.next = {};
    pass(60);
    pass(60);
    EXPECT_EQ(lastSince(), token("{\"any\": \"bytes\"}")) << "a fetch without a token leaves the old one";
}

}  // namespace
}  // namespace vellumix
