#include "sync/CloudRecordMapping.h"

#include "core/history/HistoryBounds.h"
#include "platform/desktop/Platform.h"

namespace vellumix {

namespace {

/// A flag is an integer; a boolean is another type, and counts as false.
bool isSet(const CKRecord& record, std::string_view key) {
    const auto* const number = record.value<std::int64_t>(key);
    return number && *number != 0;
}

std::optional<Data> contentOf(const CKAsset& asset) {
    if (!asset.fileURL) return std::nullopt;
    Bytes bytes;
    const auto error = platform::current().files->read(asset.fileURL->path(), bounds::entry, bytes);
    return error ? std::nullopt : std::optional(Data(std::move(bytes)));
}

}  // namespace

std::optional<ClipboardItem> itemFromRecord(const CKRecord& record) {
    const auto id = UUID::parse(record.recordID.recordName);
    if (!id) return std::nullopt;
    const auto* const kindName = record.value<std::string>("kind");
    const auto kind = kindName ? kindFromRawValue(*kindName) : std::nullopt;
    if (!kind) return std::nullopt;
    const auto* const createdAt = record.value<Date>("createdAt");
    if (!createdAt) return std::nullopt;

    ClipboardItem item{.id = *id, .date = *createdAt, .kind = *kind};
    if (const auto* const text = record.value<std::string>("text")) item._text = String(*text);
    item.pinned = isSet(record, "pinned");
    item.locked = isSet(record, "locked");
    if (const auto* const url = record.value<std::string>("fileURL")) item._fileURL = URL::parse(*url);
    if (const auto* const asset = record.value<CKAsset>("imageData")) item._imageData = contentOf(*asset);
    return item;
}

}  // namespace vellumix
