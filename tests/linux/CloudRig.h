#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "linux/TestProcess.h"
#include "platform/foundation/observation/SharedInstances.h"
#include "platform/linux/cloud/CouchDatabase.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/http/CurlSession.h"

namespace vellumix::linux_desktop {

/// The whole transport of the cloud, from the seam down to the sockets, with an account that a test sets.
class CloudRig {
public:
    /// What a fetch has told.
    struct Fetch {
        std::vector<CKRecord> records;
        std::vector<std::string> failed;
        std::vector<std::string> deleted;
        std::optional<CKServerChangeToken> token;
        bool hasEnded = false;
        /// Its sentence.
        std::string error;

        bool toldNothing() const { return records.empty() && failed.empty() && deleted.empty() && !token; }
        const CKRecord* record(std::string_view name) const {
            for (const auto& each : records)
                if (each.recordID.recordName == name) return &each;
            return nullptr;
        }
    };

    explicit CloudRig(CurlSession::Options options = {}) : session(loop, std::move(options)) {
        std::signal(SIGPIPE, SIG_IGN);
    }

    static CouchAccount accountAt(const std::string& address, const std::string& user = "ann",
                                  const std::string& password = "pw") {
        return {*URL::parse(address), {user, std::make_shared<SecretText>(password)}};
    }

    void serveUntil(const std::function<bool()>& isDone, double seconds = 60) {
        bool isLate = false;
        // What happens on a server's thread doesn't wake the loop.
        const auto looking = loop.repeatingTimer(0.002, [] {});
        const auto limit = loop.oneShotTimer(seconds, [&] { isLate = true; });
        loop.runUntil([&] { return isDone() || isLate; });
        EXPECT_FALSE(isLate);
    }
    CKFetchRecordZoneChangesOperation operation(Fetch& into, std::optional<CKServerChangeToken> from) {
        return {.recordZoneID = {"ClipboardHistory"},
                .configuration = {std::move(from)},
                .recordWasChangedBlock =
                    [&into](const CKRecordID& id, std::variant<CKRecord, CKError> record) {
                        if (auto* const there = std::get_if<CKRecord>(&record))
                            into.records.push_back(std::move(*there));
                        else
                            into.failed.push_back(id.recordName);
                    },
                .recordWithIDWasDeletedBlock =
                    [&into](const CKRecordID& id) { into.deleted.push_back(id.recordName); },
                .recordZoneChangeTokensUpdatedBlock = [&into](const auto& token) { into.token = token; },
                .recordZoneFetchResultBlock =
                    [&into](const auto& result) {
                        if (const auto* const token = std::get_if<CKServerChangeToken>(&result))
                            into.token = *token;
                    },
                .fetchRecordZoneChangesResultBlock =
                    [&into](const auto& error) {
                        EXPECT_FALSE(into.hasEnded);
                        into.hasEnded = true;
                        if (error) into.error = error->localizedDescription;
                    }};
    }
    Fetch fetch(const std::optional<CKServerChangeToken>& from = std::nullopt) {
        Fetch result;
        container->addOperation(operation(result, from));
        EXPECT_FALSE(result.hasEnded) << "inside the call";
        serveUntil([&] { return result.hasEnded; });
        return result;
    }
    /// "available", or the error.
    std::string status() {
        std::string told;
        container->accountStatusWithCompletionHandler([&](auto status, const auto& error) {
            told = error ? error->localizedDescription : description(status);
        });
        serveUntil([&] { return !told.empty(); });
        return told;
    }
    /// "", "15", or the sentence of another error.
    std::string saveZone() {
        return saved([&](auto completion) {
            container->saveRecordZone({{.zoneName = "ClipboardHistory"}}, completion);
        });
    }
    std::string saveSubscription() {
        return saved([&](auto completion) {
            container->saveSubscription(
                {.zoneID = {"ClipboardHistory"}, .subscriptionID = "clipboard-changes"}, completion);
        });
    }
    std::string check(const CouchAccount& account) {
        std::string told;
        const CouchAccountCheck checking(loop, session, account, [&](const auto& sentence, bool isGood) {
            told = (isGood ? "good: " : "bad: ") + sentence;
        });
        serveUntil([&] { return !told.empty(); });
        return told;
    }
    std::size_t assetFiles() const {
        std::error_code error;
        const std::filesystem::directory_iterator files(assetFolder, error);
        return error ? 0 : static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }
    static std::string contentOf(const CKAsset& asset) {
        std::ifstream file(asset.fileURL->path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    SharedInstances::Scope instances;
    RecordedLog log;
    GLibRunLoop loop;
    TemporaryFolder folder;
    const std::string assetFolder = folder.path() + "/cache/cloud";
    PosixFileSystem files;
    CurlSession session;
    std::variant<std::monostate, CouchAccount, CKError> account;
    std::unique_ptr<CouchContainer> container = makeContainer();

    std::unique_ptr<CouchContainer> makeContainer() {
        return std::make_unique<CouchContainer>(
            loop, session, files, [this] { return account; }, assetFolder);
    }

private:
    std::string saved(const std::function<void(CKDatabaseProtocol::Completion)>& save) {
        std::optional<std::string> told;
        save([&](const auto& error) {
            told = !error                                          ? ""
                   : error->code == CKError::serverRejectedRequest ? "15"
                                                                   : error->localizedDescription;
        });
        serveUntil([&] { return told.has_value(); });
        return told.value_or("");
    }
};

}  // namespace vellumix::linux_desktop
