#include "platform/linux/cloud/ChangesFetch.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/linux/http/WebAddress.h"

namespace vellumix::linux_desktop {

namespace {

/// Of a page: rows that are all as large as they may be.
constexpr std::uint64_t largestPage = std::uint64_t{ChangesFetch::pageSize} * FeedSplitter::largestRow;
/// Beside the bytes of a row, for what the program keeps round it.
constexpr std::size_t costOfRow = 256;
/// Seconds of telling in one turn of the loop.
constexpr double longestTurn = 0.0003;

std::string encoded(std::string_view text) {
    return percentEncoded(text, [](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_' || c == '.';
    });
}

/// As a query has it: a text without quotes, anything else as JSON.
std::string sinceInQuery(const std::string& since) {
    const auto value = JsonValue::parse(since);
    const auto* const text = value ? std::get_if<std::string>(&value->value) : nullptr;
    return encoded(text ? *text : since);
}

/// What stands before the place in the feed in a token: the place is one of this server's, and nothing to any
/// other.
std::string tokenHead(const CouchAccount& account) {
    return std::string(account.address.absoluteString()) + '\n';
}

/// As JSON; empty for the beginning.
std::string sinceOf(const std::optional<CKServerChangeToken>& token, const CouchAccount& account) {
    auto text = token ? asText(token->opaque) : std::string_view();
    const auto head = tokenHead(account);
    if (!text.starts_with(head)) return {};
    text.remove_prefix(head.size());
    return std::string(text);
}

}  // namespace

std::string databaseOf(const CKRecordZoneID& zone) { return encoded(asciiLowercased(zone.zoneName)); }

Task ChangesFetch::run(RunLoop& runLoop, CouchRequests& requests, AssetFiles& assets, CouchAccount account,
                       CKFetchRecordZoneChangesOperation operation) {
    const auto fail = [&](CKError error) {
        operation.recordZoneFetchResultBlock(error);
        operation.fetchRecordZoneChangesResultBlock(std::move(error));
    };
    const auto database = databaseOf(operation.recordZoneID);
    ChangesFetch fetch(sinceOf(operation.configuration.previousServerChangeToken, account));
    while (!fetch.isAtEnd) {
        FeedPage page(runLoop, [&](ByteView row) { return fetch.takeRow(row); });
        const CouchRequests::Taker take = [&](ByteView piece, auto& task) { return page.take(piece, task); };
        const auto answer = co_await requests.stream(account, fetch.pagePath(database), largestPage, take);
        if (answer.error) co_return fail(errorFor(failureOf(*answer.error), account));
        if (answer.status == 401) {
            const auto session = co_await requests.ask(account, "_session");
            if (!session.isOfKnownUser()) co_return fail(errorFor(CloudFailure::wrongPassword, account));
        }
        if (answer.status != 200) co_return fail(errorFor(failureOfStatus(answer.status), account));
        if (!fetch.endPage(page)) co_return fail(errorFor(CloudFailure::unreadable, account));
    }

    fetch.leaveOutAssets();
    for (auto& change : fetch.changes) {
        auto* const changed = std::get_if<Changed>(&change);
        if (!changed || !changed->picture) continue;
        const auto picture = *changed->picture;
        const auto file = assets.makeFile();
        if (!file)
            co_return fail({.localizedDescription = localized("cloud.cannotKeepFile", assets.folder())});
        bool isKept = true;
        const auto path = database + "/" + encoded(changed->record.recordID.recordName) + "/" +
                          std::string(CouchChange::pictureName) + "?rev=" + encoded(picture.revision);
        const CouchRequests::Taker take = [&](ByteView piece, auto&) { return isKept = file->write(piece); };
        const auto answer = co_await requests.stream(account, path, picture.size, take);
        if (!isKept || !file->close())
            co_return fail({.localizedDescription = localized("cloud.cannotKeepFile", assets.folder())});
        if (answer.error == URLError::dataLengthExceedsMaximum)
            co_return fail(errorFor(CloudFailure::unreadable, account));
        if (answer.error) co_return fail(errorFor(failureOf(*answer.error), account));
        if (answer.status == 404) {
            // It was changed meanwhile, and comes again as a change of its own.
            change = Failed{changed->record.recordID, CloudFailure::unreadable};
        } else if (answer.status != 200) {
            co_return fail(errorFor(failureOfStatus(answer.status), account));
        } else if (file->size() != picture.size) {
            co_return fail(errorFor(CloudFailure::unreadable, account));
        } else {
            changed->record.values.insert_or_assign(std::string(CouchChange::pictureName),
                                                    AssetFiles::assetOf(file));
        }
    }

    // In order of the changes, and each let go of as soon as it is told.
    auto end = runLoop.uptime() + longestTurn;
    for (auto& waiting : fetch.changes) {
        if (runLoop.uptime() > end) {
            co_await requests.nextTurn();
            end = runLoop.uptime() + longestTurn;
        }
        auto change = std::move(waiting);
        if (auto* const changed = std::get_if<Changed>(&change)) {
            const auto id = changed->record.recordID;
            operation.recordWasChangedBlock(id, std::move(changed->record));
        } else if (const auto* const failed = std::get_if<Failed>(&change)) {
            operation.recordWasChangedBlock(failed->id, errorFor(failed->failure, account));
        } else {
            operation.recordWithIDWasDeletedBlock(std::get<Deleted>(change).id);
        }
    }
    const CKServerChangeToken newToken{Data(tokenHead(account) + fetch.since)};
    operation.recordZoneChangeTokensUpdatedBlock(newToken);
    operation.recordZoneFetchResultBlock(newToken);
    operation.fetchRecordZoneChangesResultBlock(std::nullopt);
}

std::string ChangesFetch::pagePath(const std::string& database) const {
    auto path = database + "/_changes?include_docs=true&limit=" + std::to_string(pageSize);
    if (!since.empty()) path += "&since=" + sinceInQuery(since);
    return path;
}

bool ChangesFetch::takeRow(ByteView row) {
    if (row.empty()) {
        log.error("A document of more than 16 MiB was left out");
        return true;
    }
    auto change = CouchChange::read(row);
    if (!change) {
        log.error("A row of the feed can't be read and was left out");
        return true;
    }
    CKRecordID id{change->identifier};
    if (change->isDesign()) return true;
    if (change->isDeleted) {
        changes.emplace_back(Deleted{std::move(id)});
    } else if (change->picture && change->picture->size > largestAsset) {
        log.error("A record whose attachment has more than 128 MiB was left out");
        changes.emplace_back(Failed{std::move(id), CloudFailure::tooLarge});
    } else if (change->record) {
        changes.emplace_back(Changed{*std::move(change->record), std::move(change->picture)});
    }
    heldBytes += row.size() + costOfRow;
    if (change->sequence.empty()) return true;
    if (heldBytes < mostBytes && changes.size() < mostChanges) return true;
    since = std::move(change->sequence);
    isAtEnd = true;
    return false;
}

bool ChangesFetch::endPage(const FeedPage& page) {
    if (page.isCutShort()) return true;
    const auto frame = page.frame();
    const auto* const sequence = frame ? (*frame)["last_seq"] : nullptr;
    if (!sequence) return false;
    const auto* const pending = (*frame)["pending"];
    const auto* const rest = pending ? std::get_if<JsonValue::Number>(&pending->value) : nullptr;
    auto last = sequence->pretty();
    // A server that tells nothing of what is pending has shown all when a page isn't full. One that says
    // there is more and shows none of it would be asked for ever.
    const bool hasMore = rest ? rest->text != "0" : page.rowCount() >= pageSize;
    isAtEnd = !hasMore || page.rowCount() == 0 || last == since;
    since = std::move(last);
    return true;
}

void ChangesFetch::leaveOutAssets() {
    std::size_t count = 0;
    std::uint64_t bytes = 0;
    std::size_t left = 0;
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
        const auto* const changed = std::get_if<Changed>(&*change);
        if (!changed || !changed->picture) continue;
        bytes += changed->picture->size;
        if (++count <= mostAssets && bytes <= mostAssetBytes) continue;
        *change = Failed{changed->record.recordID, CloudFailure::tooLarge};
        ++left;
    }
    if (left > 0)
        log.info(std::to_string(left) +
                 " records with pictures were left out, as newer ones fill the history");
}

}  // namespace vellumix::linux_desktop
