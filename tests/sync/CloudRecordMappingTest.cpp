#include "sync/CloudRecordMapping.h"

#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Kind = ClipboardItem::Kind;

constexpr const char* name = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
constexpr Date moment{700000000};

class CloudRecordMappingTest : public HeadlessTest {
protected:
    /// One with all that an entry needs, and these values.
    static CKRecord record(std::map<std::string, CKRecordValue, std::less<>> values = {}) {
        values.emplace("kind", "text");
        values.emplace("createdAt", moment);
        return {{name}, std::move(values)};
    }
};

TEST_F(CloudRecordMappingTest, ARecordWithoutNameKindOrDateIsNoEntry) {
    const std::pair<const char*, CKRecord> cases[] = {
        {"the name is no UUID", {{"note"}, record().values}},
        {"no kind", {{name}, {{"createdAt", moment}}}},
        {"an unknown kind", record({{"kind", "Text"}})},
        {"a kind that is no string", record({{"kind", std::int64_t{1}}})},
        {"no date", {{name}, {{"kind", "text"}}}},
        {"a date that is text", record({{"createdAt", "2026-11-23T12:00:00Z"}})},
        {"the date under an entry's own name", {{name}, {{"kind", "text"}, {"date", moment}}}},
    };
    for (const auto& [what, record] : cases) EXPECT_FALSE(itemFromRecord(record)) << what;
    EXPECT_EQ(itemFromRecord(record({{"kind", "all"}}))->kind, Kind::all);
}

TEST_F(CloudRecordMappingTest, WhatIsAbsentOrOfAnotherTypeCountsAsAbsent) {
    const ClipboardItem plain{.id = *UUID::parse(name), .date = moment, .kind = Kind::text};
    EXPECT_EQ(itemFromRecord(record()), plain);
    EXPECT_EQ(itemFromRecord(record({{"text", 1.5},
                                     {"pinned", true},
                                     {"locked", "1"},
                                     {"fileURL", ""},
                                     {"imageData", tinyPNG()},
                                     {"encryptedText", tinyPNG()},
                                     {"isEncrypted", std::int64_t{1}}})),
              plain);

    auto locked = plain;
    locked.pinned = locked.locked = true;
    locked._text = String("in clear");
    locked._fileURL = URL::parse("file:///a%20b");
    EXPECT_EQ(itemFromRecord(record({{"text", "in clear"},
                                     {"pinned", std::int64_t{2}},
                                     {"locked", std::int64_t{-1}},
                                     {"fileURL", "file:///a%20b"}})),
              locked);
}

TEST_F(CloudRecordMappingTest, AnImageIsWhatItsFileHolds) {
    desktop.files.files["/cache/asset"] = bytesOf(tinyPNG());
    const auto url = URL::file("/cache/asset");
    const auto item = itemFromRecord(record({{"kind", "image"}, {"imageData", CKAsset{url, nullptr}}}));
    EXPECT_EQ(item->_imageData, tinyPNG());

    desktop.files.files.clear();
    for (const auto& lost : {CKAsset{url, nullptr}, CKAsset{}}) {
        const auto without = itemFromRecord(record({{"kind", "image"}, {"imageData", lost}}));
        ASSERT_TRUE(without);
        EXPECT_FALSE(without->_imageData);
    }
}

}  // namespace
}  // namespace vellumix
