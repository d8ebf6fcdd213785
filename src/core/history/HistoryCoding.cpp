#include "core/history/HistoryCoding.h"

#include <algorithm>
#include <bitset>
#include <cmath>

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/coding/Json.h"

namespace vellumix {

namespace {

/// The most room that a record needs beside its payload.
constexpr std::size_t recordFrame = 320;

std::size_t textSize(const std::optional<String>& text) {
    return text ? JsonWriter::stringSize(text->view()) : 0;
}

bool encodeRecord(const ClipboardItem& item, JsonWriter& writer) {
    if (!std::isfinite(item.date.secondsSinceReference)) return false;
    const auto blob = [&](std::string_view key, const std::optional<Data>& data) {
        if (!data) return;
        writer.key(key);
        writer.base64(*data);
    };
    writer.beginObject();
    writer.key("id");
    writer.string(item.id.uuidString());
    writer.key("date");
    writer.number(item.date.secondsSinceReference);
    writer.key("kind");
    writer.string(rawValue(item.kind));
    writer.key("pinned");
    writer.boolean(item.pinned);
    writer.key("locked");
    writer.boolean(item.locked);
    if (item._text) {
        writer.key("text");
        writer.string(*item._text);
    }
    blob("imageData", item._imageData);
    if (item._fileURL) {
        writer.key("fileURL");
        writer.string(item._fileURL->absoluteString());
    }
    blob("encryptedText", item.encryptedText);
    blob("encryptedImageData", item.encryptedImageData);
    blob("encryptedFileURL", item.encryptedFileURL);
    writer.key("isEncrypted");
    writer.boolean(item.isEncrypted);
    writer.endObject();
    return true;
}

/// Where decoded blobs go: to the front of the text that they are read from, one behind the other. The key
/// and its brackets keep the first of them far enough ahead of what is still to be read.
class BlobPlace {
public:
    explicit BlobPlace(Bytes content)
        : content(std::make_shared<Bytes>(std::move(content))), end(this->content->data()) {}
    /// What has been read needs no memory but that of the blobs.
    ~BlobPlace() { returnPages({end, content->data() + content->size()}); }

    std::optional<Data> read(JsonReader& reader) {
        auto* end = this->end;
        if (!reader.base64(end)) return std::nullopt;
        const std::span blob(this->end, end);
        // A small one would hold its page, and with it its neighbours.
        constexpr std::size_t worthSharing = std::size_t{64} << 10;
        if (blob.size() < worthSharing) return Data(ByteView(blob));
        this->end = end;
        return Data(content, blob);
    }

private:
    std::shared_ptr<Bytes> content;
    std::uint8_t* end;
};

/// Reads one record, member by member.
class RecordReader {
public:
    RecordReader(JsonReader& reader, BlobPlace& blobs) : reader(reader), blobs(blobs) {}

    bool read(ClipboardItem& item) {
        return reader.object([&](std::string_view key) { return member(key, item); }) &&
               (found_.all() || reader.fail("required key missing"));
    }

private:
    enum Required { id, date, kind, pinned, locked, isEncrypted, requiredCount };

    bool member(std::string_view key, ClipboardItem& item) {
        if (key == "id") return found(id) && readID(item.id);
        if (key == "date") return found(date) && reader.number(item.date.secondsSinceReference);
        if (key == "kind") return found(kind) && readKind(item.kind);
        if (key == "pinned") return found(pinned) && reader.boolean(item.pinned);
        if (key == "locked") return found(locked) && reader.boolean(item.locked);
        if (key == "isEncrypted") return found(isEncrypted) && reader.boolean(item.isEncrypted);
        if (key == "text") return optional([&] { return readText(item._text); });
        if (key == "fileURL") return optional([&] { return readURL(item._fileURL); });
        if (key == "imageData") return readBlob(item._imageData);
        if (key == "encryptedText") return readBlob(item.encryptedText);
        if (key == "encryptedImageData") return readBlob(item.encryptedImageData);
        if (key == "encryptedFileURL") return readBlob(item.encryptedFileURL);
        return reader.skip();
    }

    bool found(Required key) {
        found_.set(key);
        return true;
    }
    /// An optional key may hold null, which reads as absent.
    template <class Read>
    bool optional(Read read) {
        return reader.next() == JsonReader::Kind::null ? reader.null() : read();
    }
    bool readID(UUID& value) {
        std::string text;
        if (!reader.string(text)) return false;
        const auto parsed = UUID::parse(text);
        if (!parsed) return reader.fail("not a UUID");
        value = *parsed;
        return true;
    }
    bool readKind(ClipboardItem::Kind& value) {
        std::string text;
        if (!reader.string(text)) return false;
        const auto parsed = kindFromRawValue(text);
        if (!parsed) return reader.fail("unknown kind");
        value = *parsed;
        return true;
    }
    bool readText(std::optional<String>& value) {
        std::string text;
        if (!reader.string(text)) return false;
        value = String(std::move(text));
        return true;
    }
    bool readURL(std::optional<URL>& value) {
        std::string text;
        if (!reader.string(text)) return false;
        value = URL::parse(text);
        return value || reader.fail("not a URL");
    }
    bool readBlob(std::optional<Data>& value) {
        return optional([&] {
            value = blobs.read(reader);
            return value.has_value();
        });
    }

    JsonReader& reader;
    BlobPlace& blobs;
    std::bitset<requiredCount> found_;
};

}  // namespace

std::size_t recordSizeLimit(const ClipboardItem& item) {
    const auto blobs = {&item._imageData, &item.encryptedText, &item.encryptedImageData,
                        &item.encryptedFileURL};
    auto size = recordFrame + textSize(item._text);
    if (item._fileURL) size += JsonWriter::stringSize(item._fileURL->absoluteString());
    for (const auto* blob : blobs) {
        // One sign in 64 is a slash, as a compressed or an enciphered picture has them.
        if (*blob) size += base64::encodedSize((*blob)->size()) * 65 / 64;
    }
    return size;
}

bool encodeHistory(const std::vector<ClipboardItem>& items, const ByteTaker& take) {
    Bytes scratch;
    JsonWriter writer(scratch, take);
    writer.beginArray();
    for (const auto& item : items) {
        if (!encodeRecord(item, writer)) return false;
    }
    writer.endArray();
    return writer.end();
}

std::string decodeHistory(Bytes content, ByteView json, std::vector<ClipboardItem>& items) {
    JsonReader reader(json);
    BlobPlace blobs(std::move(content));
    std::vector<ClipboardItem> decoded;
    const bool isWhole = reader.array([&] {
        return RecordReader(reader, blobs).read(decoded.emplace_back());
    }) && reader.end();
    if (!isWhole) return reader.error();
    items = std::move(decoded);
    return {};
}

}  // namespace vellumix
