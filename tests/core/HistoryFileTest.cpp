#include <algorithm>
#include <limits>
#include <optional>

#include "core/history/EncryptionManager.h"
#include "core/history/HistoryCoding.h"
#include "core/history/Store.h"
#include "platform/foundation/files/KeptFile.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "support/HeadlessTest.h"
#include "support/ProcessMemory.h"

namespace vellumix {
namespace {

class HistoryFileTest : public HeadlessTest {
protected:
    void put(std::string_view content) {
        desktop.files.makeFolder(folderOf(historyPath));
        desktop.files.files[historyPath] = Bytes(content.begin(), content.end());
    }
    std::vector<std::string> loaded() { return textsOf(Store().items().get()); }
    /// The path of the history that was moved aside, if one was.
    std::optional<std::string> aside() {
        for (const auto& [path, content] : desktop.files.files) {
            if (path.find("history.unreadable-") != std::string::npos) return path;
        }
        return std::nullopt;
    }
};

constexpr std::string_view record =
    R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","date":800000000.25,"kind":"all","pinned":true,"locked":false,)"
    R"("text":"a\/b \"c\"\n","fileURL":"file:\/\/\/a%20b","imageData":"\/\/8=","isEncrypted":false})";

Bytes encoded(const std::vector<ClipboardItem>& items) {
    Bytes json;
    EXPECT_TRUE(encodeHistory(items, [&](ByteView piece) {
        append(json, piece);
        return true;
    }));
    return json;
}

TEST_F(HistoryFileTest, ARecordIsWrittenAsItWasRead) {
    const auto json = "[" + std::string(record) + "]";
    put(json);
    Store store;
    ASSERT_EQ(store.items()->size(), 1U);
    const auto& item = store.items().get()[0];
    EXPECT_EQ(*item.text(), "a/b \"c\"\n");
    EXPECT_EQ(item.fileURL()->path(), "/a b");
    EXPECT_EQ(item.imageData(), Data(std::string_view("\xFF\xFF")));
    // The one difference: keys come in the order of the fields.
    EXPECT_EQ(
        asText(encoded(store.items().get())),
        R"([{"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","date":800000000.25,"kind":"all","pinned":true,)"
        R"("locked":false,"text":"a\/b \"c\"\n","imageData":"\/\/8=","fileURL":"file:\/\/\/a%20b","isEncrypted":false}])");
}

TEST_F(HistoryFileTest, EveryFieldOfEveryEntryComesBack) {
    const auto key = [](std::string_view bytes) { return Data(bytes); };
    auto full = textItem("text", ClipboardItem::Kind::file);
    full._imageData = key("image");
    full._fileURL = URL::file("/a b");
    full.encryptedText = key("sealed text");
    full.encryptedImageData = key("sealed image");
    full.encryptedFileURL = key("sealed file");
    std::vector<ClipboardItem> items{full};
    for (const auto kind : ClipboardItem::allKinds) items.push_back({.id = UUID::random(), .kind = kind});
    items[1].pinned = true;
    items[2].locked = true;
    items[3].isEncrypted = true;
    const auto json = encoded(items);
    for (const auto* name : {"id", "date", "kind", "pinned", "locked", "text", "imageData", "fileURL",
                             "encryptedText", "encryptedImageData", "encryptedFileURL", "isEncrypted"}) {
        EXPECT_NE(asText(json).find('"' + std::string(name) + "\":"), std::string::npos) << name;
    }
    std::vector<ClipboardItem> decoded;
    EXPECT_EQ(decodeHistory(json, json, decoded), "");
    EXPECT_TRUE(decoded == items);
    for (const auto& item : items) {
        const auto room = recordSizeLimit(item), needed = encoded({item}).size();
        EXPECT_GE(room, needed);
        EXPECT_LE(room, needed + 320);
    }
    auto endless = items;
    endless[1].date = Date{std::numeric_limits<double>::infinity()};
    EXPECT_FALSE(encodeHistory(endless, [](ByteView) { return true; })) << "no number of JSON's";
    full._imageData = Data(std::string_view(std::string(100'000, '\x5a')));
    EXPECT_GE(recordSizeLimit(full), encoded({full}).size());
    EXPECT_LE(recordSizeLimit(full), encoded({full}).size() * 102 / 100 + 320);
}

TEST_F(HistoryFileTest, WhatIsNoHistoryGivesAnEmptyOneAndIsNeverWrittenOver) {
    const auto with = [](std::string_view from, std::string_view to) {
        std::string text(record);
        text.replace(text.find(from), from.size(), to);
        return "[" + text + "]";
    };
    const std::string cases[] = {
        "V",
        "VLX",
        "VLX1",
        "VLX1" + std::string(27, 'x'),
        "VLX1" + std::string(60, 'x'),
        "{}",
        "[" + std::string(record),
        "[" + std::string(record) + "]x",
        "[" + std::string(record) + ",{}]",
        with("\"all\"", "\"sound\""),
        with(",\"isEncrypted\":false", ""),
        with("\"pinned\":true", "\"pinned\":null"),
        with("\"date\":800000000.25", "\"date\":\"x\""),
        with("\"date\":800000000.25", "\"date\":1e999"),
        with("E621E1F8", "E621E1F"),
        with("\\/\\/8=", "\\/\\/9="),
        with("\\/\\/8=", "\\/\\/8"),
        with("a\\/b", "\xFF"),
        with("a\\/b", "\\ud800"),
        with("file:", "fi le:"),
    };
    for (const auto& content : cases) {
        SCOPED_TRACE(content);
        desktop.files.files.clear();
        put(content);
        desktop.log.lines.clear();
        Store store;
        EXPECT_TRUE(store.items()->empty());
        EXPECT_FALSE(desktop.log.lines.empty());
        desktop.runLoop.advance(10);
        EXPECT_EQ(history(), content) << "loading writes nothing";
        store.add(textItem("new"));
        desktop.runLoop.advance(1);
        ASSERT_TRUE(aside());
        EXPECT_EQ(asText(desktop.files.files[*aside()]), content);
        EXPECT_TRUE(desktop.log.contains(*aside()));
        EXPECT_EQ(loaded(), std::vector<std::string>{"new"});
        for (const auto& line : desktop.log.lines) EXPECT_EQ(line.find("a/b"), std::string::npos);
    }
}

TEST_F(HistoryFileTest, OptionalAndUnknownKeysMayBeMissingNullOrStrange) {
    put(R"([{"id":"e621e1f8-c36c-495a-93fc-0c247a3e6e5f","date":1,"kind":"text","pinned":false,"locked":false,)"
        R"("text":null,"novelty":[{"deep":"x"},1e5,null],"isEncrypted":false}])");
    Store store;
    ASSERT_EQ(store.items()->size(), 1U);
    EXPECT_FALSE(store.items().get()[0].text());
}

TEST_F(HistoryFileTest, AMutationTurnsThePlainFormIntoTheEnvelope) {
    put("[" + std::string(record) + "]");
    Store store;
    desktop.runLoop.advance(10);
    EXPECT_TRUE(history().starts_with("[{"));
    store.add(textItem("new"));
    desktop.runLoop.advance(1);
    EXPECT_TRUE(history().starts_with("VLX1"));
    EXPECT_EQ(history().find("new"), std::string::npos);
    EXPECT_FALSE(aside());
    EXPECT_EQ(loaded(), (std::vector<std::string>{"new", "a/b \"c\"\n"}));
}

TEST_F(HistoryFileTest, EveryFlippedBitAndEveryTruncationIsNoticed) {
    Store store;
    store.add(textItem("x"));
    store.saveNow();
    const auto whole = history();
    const auto plain = EncryptionManager::shared().decrypt(viewOf(whole).subspan(4));
    EXPECT_TRUE(plain && plain->front() == '[')
        << "four bytes and the envelope, for whoever reads it elsewhere";
    const auto isRefused = [&](const std::string& content) {
        put(content);
        return Store().items()->empty();
    };
    for (std::size_t at = 0; at < whole.size(); ++at) {
        auto flipped = whole;
        flipped[at] = static_cast<char>(flipped[at] ^ 1 << (at % 8));
        EXPECT_TRUE(isRefused(flipped)) << "bit in byte " << at;
        EXPECT_TRUE(isRefused(whole.substr(0, at))) << "cut at " << at;
    }
    EXPECT_FALSE(isRefused(whole));
}

TEST_F(HistoryFileTest, ContentOfManyPiecesReadsBackAsItWas) {
    std::vector<ClipboardItem> items;
    // Around the sizes at which the writer hands on a piece and a block is full, and with signs that grow.
    for (const std::size_t size : {24'575, 24'576, 24'577, 32'767, 32'769, 70'000, 3'000'000}) {
        std::string bytes(size, 'x');
        for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<char>(at * at % 251);
        items.push_back(imageItem(bytes));
        for (auto& c : bytes) c = static_cast<char>(c & 0x7F);
        items.push_back(textItem(bytes));
    }
    for (const bool hasKey : {true, false}) {
        desktop.files.files.clear();
        if (!hasKey) desktop.keychain.refusal = errSecInteractionNotAllowed;
        Store store;
        store.replaceAll(items);
        store.saveNow();
        EXPECT_EQ(history().starts_with("VLX1"), hasKey);
        EXPECT_TRUE(Store().items().get() == items);
    }
}

TEST_F(HistoryFileTest, ASaveLeavesNoMemoryBehindForLong) {
    constexpr std::size_t size = 30'000'000;
    Store store;
    store.add(imageItem(std::string(size, 'x')));
    desktop.runLoop.advance(Store::saveDebounce);
    ASSERT_GT(history().size(), size);
    const auto saved = tests::ProcessMemory::now().resident;
    desktop.runLoop.advance(Store::memoryLingers);
    EXPECT_LT(tests::ProcessMemory::now().resident + size, saved);
}

TEST_F(HistoryFileTest, TheSaveWaitsForABurstAndQuittingDoesNot) {
    Store store;
    for (int number = 0; number < 5; ++number) {
        store.add(textItem(std::to_string(number)));
        desktop.runLoop.advance(0.34);
    }
    EXPECT_TRUE(history().empty()) << "the delay begins anew with each change";
    desktop.runLoop.advance(0.01);
    EXPECT_EQ(loaded().size(), 5U);
    const auto first = history();
    store.add(textItem("last"));
    store.saveNow();
    const auto second = history();
    EXPECT_EQ(loaded().front(), "last");
    EXPECT_NE(first, second);
    desktop.runLoop.advance(1);
    EXPECT_EQ(history(), second) << "the save that waited was called off";
}

TEST_F(HistoryFileTest, WithoutAKeyTheHistoryIsKeptPlainAndSaidSo) {
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    std::vector<NotificationCenter::UserInfo> failures;
    const auto observation = NotificationCenter::defaultCenter().observe(
        EncryptionManager::failedNotification, [&](const auto& info) { failures.push_back(info); });
    Store store;
    store.add(textItem("plain"));
    store.saveNow();
    EXPECT_TRUE(history().starts_with("[{\"id\":"));
    EXPECT_TRUE(desktop.log.contains("Store: Encryption unavailable — writing history as plaintext"));
    ASSERT_FALSE(failures.empty());
    EXPECT_EQ(failures[0],
              (NotificationCenter::UserInfo{{"operation", "encrypt"}, {"reason", "key-unavailable"}}));
    desktop.keychain.refusal.reset();
    EXPECT_EQ(loaded(), std::vector<std::string>{"plain"});
    EXPECT_TRUE(desktop.keychain.items.empty()) << "a refusal never leads to a key";
}

TEST_F(HistoryFileTest, ASaveThatFailsIsSaidOnceAndSoIsTheOneThatMakesItGood) {
    Store store;
    const auto addAndSave = [&](const char* text) {
        store.add(textItem(text));
        desktop.runLoop.advance(1);
    };
    int changes = 0;
    const auto observation = store.observeSaveFailed([&] { ++changes; });
    addAndSave("saved");
    EXPECT_FALSE(store.saveFailed().get());
    desktop.files.folders.erase(folderOf(historyPath));
    addAndSave("not saved");
    addAndSave("nor this");
    store.saveNow();
    EXPECT_TRUE(store.saveFailed().get());
    desktop.files.makeFolder(folderOf(historyPath));
    addAndSave("saved again");
    EXPECT_FALSE(store.saveFailed().get());
    EXPECT_EQ(loaded().size(), 4U);
    EXPECT_EQ(changes, 2);
    std::vector<std::string> lines;
    std::ranges::copy_if(desktop.log.lines, std::back_inserter(lines),
                         [](const auto& line) { return line.starts_with("Store: The history"); });
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].starts_with("Store: The history can't be saved: No such file or directory"));
    EXPECT_EQ(lines[1], "Store: The history is saved again");
}

TEST_F(HistoryFileTest, AFileLargerThanIsReadIsNotWrittenEither) {
    const auto path = "/data/file";
    desktop.files.makeFolder("/data");
    KeptFile file(desktop.files, path, {.category = "Store", .name = "history", .sizeLimit = 4});
    file.write({viewOf("12"), viewOf("34")});
    EXPECT_FALSE(file.hasFailed());
    file.write({viewOf("12"), viewOf("345")});
    EXPECT_TRUE(file.hasFailed());
    EXPECT_EQ(asText(*file.read()), "1234");
    desktop.files.files[path] = bytesOf(viewOf("12345"));
    EXPECT_FALSE(file.read());
    EXPECT_TRUE(desktop.log.contains("Store: The history can't be read: File too large"));
}

TEST_F(HistoryFileTest, AStartAndAnEndWithALockedKeyringLeaveTheHistoryInItsPlace) {
    {
        Store store;
        store.add(textItem("kept"));
        store.saveNow();
    }
    const auto whole = history();
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    {
        Store store;
        EXPECT_TRUE(store.items()->empty());
        store.saveNow();
    }
    EXPECT_EQ(history(), whole);
    desktop.keychain.refusal.reset();
    EXPECT_EQ(loaded(), std::vector<std::string>{"kept"});
}

TEST_F(HistoryFileTest, AHistoryLargerThanTheLimitIsKeptUntilTheNextEntry) {
    std::vector<ClipboardItem> many;
    for (int number = 0; number < 100'000; ++number) many.push_back(textItem(std::to_string(number)));
    put(asText(encoded(many)));
    Store store;
    EXPECT_EQ(store.items()->size(), 100'000U);
    store.add(textItem("new"));
    EXPECT_EQ(store.items()->size(), Store::limit);
    EXPECT_EQ(store.items()->back()._text->string(), "198");
}

TEST_F(HistoryFileTest, WhereTheFileGoesWhenNobodySaysWhere) {
    EXPECT_EQ(Store().url().path(), historyPath);
    EXPECT_TRUE(desktop.files.folders.contains("/home/user/.local/share/Vellumix"));
    platform::current().applicationSupportDirectories.clear();
    EXPECT_EQ(Store().url().path(), "/tmp/Vellumix/history.json");
    EXPECT_EQ(Store(URL::file("/elsewhere/h.json")).url().path(), "/elsewhere/h.json");
    EXPECT_FALSE(desktop.files.folders.contains("/elsewhere"));
}

// The key and the cipher.

class EncryptionTest : public HeadlessTest {
protected:
    EncryptionManager& manager = EncryptionManager::shared();
};

TEST_F(EncryptionTest, BlobsAreFreshAndReadBack) {
    const Data text(std::string_view("text"));
    const auto one = manager.encrypt(text);
    const auto two = manager.encrypt(text);
    ASSERT_TRUE(one && two);
    EXPECT_NE(*one, *two);
    EXPECT_EQ(one->size(), text.size() + 28);
    EXPECT_EQ(asText(*manager.decrypt(*one)), "text");
    EXPECT_EQ(desktop.keychain.additions, 1);
    EXPECT_EQ(desktop.keychain.reads, 3) << "the key is read for every call";
    const auto empty = manager.encrypt({});
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->size(), 28U);
    EXPECT_EQ(manager.decrypt(*empty), Bytes());
}

TEST_F(EncryptionTest, NoStatusButNoSuchItemLeadsToAKey) {
    for (const auto status :
         {errSecInteractionNotAllowed, errSecNotAvailable, errSecIO, errSecTimedOut, errSecUserCanceled}) {
        desktop.keychain.refusal = status;
        EXPECT_FALSE(manager.encrypt(viewOf("x")));
        EXPECT_FALSE(manager.decrypt(viewOf("x")));
        EXPECT_TRUE(desktop.log.contains("Encryption: getOrCreateKey: Keychain error " +
                                         std::to_string(status) +
                                         " — refusing to create new key to prevent data loss"));
    }
    desktop.keychain.refusal.reset();
    desktop.keychain.items["com.tarnwick.Vellumix/encryption-key"] = Bytes(31);
    EXPECT_FALSE(manager.encrypt(viewOf("x"))) << "a key of the wrong size is no key";
    EXPECT_EQ(desktop.keychain.additions, 0);
}

TEST_F(EncryptionTest, WhatCantBeDoneIsToldByItsNameAndItsReason) {
    std::vector<std::string> told;
    const auto observation = NotificationCenter::defaultCenter().observe(
        "EncryptionFailed",
        [&](const auto& info) { told.push_back(info.at("operation") + " " + info.at("reason")); });
    const auto blob = *manager.encrypt(viewOf("x"));
    EXPECT_TRUE(told.empty());
    auto changed = bytesOf(blob);
    changed.back() ^= 1;
    manager.decrypt(changed);
    manager.decryptTexts({changed, blob});
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    manager.encrypt(viewOf("x"));
    manager.decrypt(blob);
    manager.decryptTexts({blob, blob});
    manager.decryptTexts({});
    EXPECT_EQ(told, (std::vector<std::string>{"decrypt authenticationFailure",
                                              "decrypt authenticationFailure", "encrypt key-unavailable",
                                              "decrypt key-unavailable", "decrypt key-unavailable"}));
}

TEST_F(EncryptionTest, ALostKeyIsReplacedAndOldBlobsStayShut) {
    const auto blob = manager.encrypt(viewOf("old"));
    desktop.keychain.items.clear();
    EXPECT_FALSE(manager.decrypt(*blob));
    EXPECT_EQ(desktop.keychain.additions, 2);
    EXPECT_TRUE(manager.decrypt(*manager.encrypt(viewOf("new"))));
    EXPECT_FALSE(manager.decrypt(Bytes(27)));
    EXPECT_TRUE(desktop.log.contains("Encryption: decrypt: AES-GCM open failed: incorrectParameterSize"));
}

}  // namespace
}  // namespace vellumix
