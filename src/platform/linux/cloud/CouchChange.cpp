#include "platform/linux/cloud/CouchChange.h"

#include <charconv>

#include "platform/foundation/coding/Json.h"

namespace vellumix::linux_desktop {

namespace {

using Kind = JsonReader::Kind;

template <class Number>
std::optional<Number> numberOf(std::string_view text) {
    Number number{};
    const auto* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

bool readText(JsonReader& reader, std::string& text) {
    return reader.next() == Kind::string ? reader.string(text) : reader.skip();
}

bool readSequence(JsonReader& reader, std::string& sequence) {
    if (reader.next() == Kind::number) return reader.numberText(sequence);
    if (reader.next() != Kind::string) return reader.skip();
    std::string text;
    if (!reader.string(text)) return false;
    Bytes json;
    JsonWriter(json).string(text);
    sequence = asText(json);
    return true;
}

/// Arrays, objects and null are no values of a record.
bool readValue(JsonReader& reader, std::string_view key, CKRecord& record) {
    const auto put = [&](CKRecordValue value) {
        record.values.insert_or_assign(std::string(key), std::move(value));
    };
    switch (reader.next()) {
        case Kind::string: {
            std::string text;
            if (!reader.string(text)) return false;
            const auto moment = key == CouchChange::momentName ? Date::fromRFC3339(text) : std::nullopt;
            moment ? put(*moment) : put(std::move(text));
            break;
        }
        case Kind::number: {
            std::string text;
            if (!reader.numberText(text)) return false;
            if (const auto integer = numberOf<std::int64_t>(text)) {
                put(*integer);
            } else if (const auto number = numberOf<double>(text)) {
                put(*number);
            }
            break;
        }
        case Kind::boolean: {
            bool flag = false;
            if (!reader.boolean(flag)) return false;
            put(flag);
            break;
        }
        default:
            return reader.skip();
    }
    return record.values.size() <= CouchChange::mostValues || reader.fail("too many members");
}

/// The attachment named `pictureName`, among others or alone.
bool readAttachments(JsonReader& reader, std::optional<CouchAttachment>& picture) {
    if (reader.next() != Kind::object) return reader.skip();
    return reader.object([&](std::string_view name) {
        if (name != CouchChange::pictureName || reader.next() != Kind::object) return reader.skip();
        return reader.object([&](std::string_view key) {
            if (key != "length" || reader.next() != Kind::number) return reader.skip();
            std::string text;
            if (!reader.numberText(text)) return false;
            if (const auto size = numberOf<std::uint64_t>(text)) picture.emplace().size = *size;
            return true;
        });
    });
}

}  // namespace

std::optional<CouchChange> CouchChange::read(ByteView row) {
    CouchChange change;
    CKRecord record;
    bool hasDocument = false;
    std::string revision;
    JsonReader reader(row);
    const auto readMember = [&](std::string_view key) {
        if (key == "_rev") return readText(reader, revision);
        if (key == "_attachments") return readAttachments(reader, change.picture);
        if (key.starts_with('_')) return reader.skip();
        return readValue(reader, key, record);
    };
    const bool isRead = reader.object([&](std::string_view key) {
        if (key == "id") return readText(reader, change.identifier);
        if (key == "seq") return readSequence(reader, change.sequence);
        if (key == "deleted" && reader.next() == Kind::boolean) return reader.boolean(change.isDeleted);
        if (key != "doc" || reader.next() != Kind::object) return reader.skip();
        hasDocument = true;
        return reader.object(readMember);
    });
    if (!isRead || !reader.end() || change.identifier.empty()) return std::nullopt;
    if (change.picture) change.picture->revision = std::move(revision);
    if (hasDocument && !change.isDeleted) {
        record.recordID.recordName = change.identifier;
        change.record = std::move(record);
    }
    return change;
}

}  // namespace vellumix::linux_desktop
