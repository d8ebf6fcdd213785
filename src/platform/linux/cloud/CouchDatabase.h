#pragma once

#include <string>

#include "platform/foundation/loop/Task.h"
#include "platform/linux/cloud/AssetFiles.h"
#include "platform/linux/cloud/CouchRequests.h"

namespace vellumix::linux_desktop {

/// A person's private database on a server that speaks the CouchDB protocol, and the container that it is in.
/// A zone is a database of its name, a record a document, an asset its attachment.
class CouchContainer final : public CKContainer, public CKDatabaseProtocol {
public:
    /// All must outlive it. The assets' files lie in `assetFolder`.
    CouchContainer(RunLoop& runLoop, NSURLSession& session, FileSystem& files, CouchAccountSource source,
                   std::string assetFolder)
        : runLoop(runLoop),
          source(std::move(source)),
          assets(files, std::move(assetFolder)),
          requests(runLoop, session) {}

    /// At the start of the one process that fetches.
    void removeLeftovers() { assets.removeLeftovers(); }

    CKDatabaseProtocol& privateCloudDatabase() override { return *this; }
    /// Asks the server for its name, for the person's and for the database.
    void accountStatusWithCompletionHandler(
        std::function<void(CKAccountStatus status, std::optional<CKError> error)> completionHandler) override;
    /// Makes the database, unless it is there: whoever may use one may seldom make one.
    void saveRecordZone(CKRecordZone zone, Completion completionHandler) override;
    /// Notes the subscription in a document that isn't replicated, so that the server's owner can see who
    /// reads. The server itself does nothing with it.
    void saveSubscription(CKRecordZoneSubscription subscription, Completion completionHandler) override;
    void addOperation(CKFetchRecordZoneChangesOperation operation) override;

private:
    Task answerStatus(std::function<void(CKAccountStatus, std::optional<CKError>)> completionHandler);
    Task save(CKRecordZone zone, Completion completionHandler);
    Task save(CKRecordZoneSubscription subscription, Completion completionHandler);
    Task fail(CKFetchRecordZoneChangesOperation operation, CKError error);

    RunLoop& runLoop;
    const CouchAccountSource source;
    AssetFiles assets;
    CouchRequests requests;
};

/// Asks once whether an account is right, for a person who wants to know.
class CouchAccountCheck {
public:
    /// Gets one sentence in the person's language, once, on a later turn of the loop.
    using Completion = std::function<void(const std::string& sentence, bool isGood)>;

    /// Destroying it ends the question, and nothing is answered.
    CouchAccountCheck(RunLoop& runLoop, NSURLSession& session, CouchAccount account, Completion completion);

private:
    CouchRequests requests;
};

}  // namespace vellumix::linux_desktop
