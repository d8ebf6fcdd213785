#pragma once

#include <string>
#include <variant>
#include <vector>

#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/Task.h"
#include "platform/linux/cloud/AssetFiles.h"
#include "platform/linux/cloud/CouchChange.h"
#include "platform/linux/cloud/CouchRequests.h"
#include "platform/linux/cloud/FeedPage.h"

namespace vellumix::linux_desktop {

/// The fetch of all changes of one database: the feed in pages to its end, then the attachments, then the
/// operation's blocks in order, nothing of which takes long in any turn of the loop. What fails tells no
/// block of a record.
///
/// A fetch is bounded: one that has gathered `mostBytes` ends there, with the token of that place, and the
/// next goes on.
class ChangesFetch {
public:
    static constexpr int pageSize = 500;
    static constexpr std::uint64_t largestAsset = std::uint64_t{128} << 20;
    /// Of the rows that one fetch holds, and how many.
    static constexpr std::size_t mostBytes = std::size_t{256} << 20;
    static constexpr std::size_t mostChanges = 100'000;
    /// The attachments of one fetch, the newest first: more records don't stay in a history of 200, and more
    /// bytes than these aren't kept in its file. Those of older records are left out with their record.
    static constexpr std::size_t mostAssets = 200;
    static constexpr std::uint64_t mostAssetBytes = std::uint64_t{1} << 30;

    /// Runs to its end by itself. `requests` and `assets` must outlive it.
    static Task run(RunLoop& runLoop, CouchRequests& requests, AssetFiles& assets, CouchAccount account,
                    CKFetchRecordZoneChangesOperation operation);

private:
    struct Failed {
        CKRecordID id;
        CloudFailure failure;
    };
    struct Changed {
        CKRecord record;
        std::optional<CouchAttachment> picture;
    };
    struct Deleted {
        CKRecordID id;
    };
    using Change = std::variant<Changed, Failed, Deleted>;

    explicit ChangesFetch(std::string since) : since(std::move(since)) {}
    bool takeRow(ByteView row);
    /// Goes on behind a page that has come whole; false when it is no page.
    bool endPage(const FeedPage& page);
    void leaveOutAssets();
    std::string pagePath(const std::string& database) const;

    /// As JSON; empty for the beginning.
    std::string since;
    bool isAtEnd = false;
    std::size_t heldBytes = 0;
    std::vector<Change> changes;
    Log log{"CloudSync"};
};

/// The name of the database that holds a zone: in lower case, as the protocol has it.
std::string databaseOf(const CKRecordZoneID& zone);

}  // namespace vellumix::linux_desktop
