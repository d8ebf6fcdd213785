#include "core/history/Store.h"

#include "core/history/EncryptionManager.h"
#include "core/history/ThumbnailCache.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using Kind = ClipboardItem::Kind;

class StoreTest : public HeadlessTest {
protected:
    std::vector<std::string> texts() { return textsOf(store.items().get()); }
    ClipboardItem at(std::size_t index) { return store.items().get()[index]; }
    void add(const std::string& text) { store.add(textItem(text)); }

    Store store;
};

TEST_F(StoreTest, EntriesThatComeTogetherEndAsOneByOneAndAreSavedOnce) {
    Store single(URL::file("/home/user/single.json"));
    int published = 0;
    const auto counting = store.observeItems([&] { ++published; });
    std::vector<ClipboardItem> coming;
    // Doubles on the way, more than the limit, and some that go again.
    for (int each = 0; each < 700; ++each) coming.push_back(textItem(std::to_string(each * each % 467)));
    const auto perform = [&](Store& target) {
        for (std::size_t each = 0; each < coming.size(); ++each) {
            target.add(coming[each]);
            const auto earlier = each % 5 == 0 ? target.item(coming[each - each / 9].id) : std::nullopt;
            if (earlier) target.remove(*earlier);
        }
    };
    coming.front().locked = true;
    perform(single);
    store.changeTogether([&] { perform(store); });
    EXPECT_EQ(texts(), textsOf(single.items().get()));
    EXPECT_EQ(published, 1);
    store.changeTogether([&] { store.remove(coming.front()); });
    EXPECT_EQ(published, 1) << "nothing has changed";

    Store bounded(URL::file("/home/user/bounded.json"), 8 * bounds::alwaysRecorded);
    const auto large = [](char sign) { return textItem(std::string(3 * bounds::alwaysRecorded, sign)); };
    bounded.changeTogether([&] {
        bounded.add(large('a'));
        EXPECT_FALSE(bounded.excessOf(large('b')));
        bounded.add(large('b'));
        EXPECT_EQ(bounded.excessOf(large('c')), RefusalReason::historyIsFull) << "it is counted on the way";
        const auto again = large('a');
        bounded.add(again);
        bounded.remove(again);
        EXPECT_FALSE(bounded.excessOf(large('c'))) << "what has gone takes no room";
    });
}

TEST_F(StoreTest, NewEntriesComeFirstAndReplaceTheirUnlockedDoubles) {
    add("a");
    add("b");
    store.togglePin(at(1));
    add("a");
    EXPECT_EQ(texts(), (std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(at(0).pinned) << "a pinned double goes like any other";

    store.setLocked(at(1), true);
    add("b");
    EXPECT_EQ(store.items()->size(), 3U) << "a locked entry is never a double";

    store.add(textItem("a", Kind::code));
    EXPECT_EQ(store.items()->size(), 4U) << "another kind is another entry";

    add("caf\u00e9");
    add("cafe\u0301");
    EXPECT_EQ(store.items()->size(), 5U) << "canonically equal texts are doubles";

    store.add(fileItem("/one/name.txt"));
    store.add(fileItem("/two/name.txt"));
    EXPECT_EQ(store.items()->size(), 6U);
    EXPECT_EQ(at(0).fileURL()->path(), "/two/name.txt");

    store.add(imageItem("same"));
    store.add(imageItem("same"));
    EXPECT_EQ(store.items()->size(), 8U) << "images are never compared";
}

TEST_F(StoreTest, TheSurplusGoesFromTheEndWhateverItsFlags) {
    add("oldest");
    store.togglePin(at(0));
    for (std::size_t number = 1; number < Store::limit; ++number) add(std::to_string(number));
    EXPECT_EQ(texts().back(), "oldest");
    add("one more");
    EXPECT_EQ(store.items()->size(), Store::limit);
    EXPECT_EQ(texts().back(), "1");
}

TEST_F(StoreTest, AStaleCopyFindsNothingAndSavesNothing) {
    add("a");
    const auto before = at(0);
    store.togglePin(before);
    desktop.runLoop.advance(1);
    const auto saved = history();

    int notifications = 0;
    const auto observation = store.observeItems([&] { ++notifications; });
    store.togglePin(before);
    store.remove(before);
    store.setLocked(before, true);
    store.setLocked(at(0), false);
    desktop.runLoop.advance(1);
    EXPECT_EQ(notifications, 0);
    EXPECT_EQ(history(), saved);
    EXPECT_TRUE(at(0).pinned);
}

TEST_F(StoreTest, ClearKeepsWhatIsPinnedOrLockedAndSavesEvenThen) {
    for (const auto* text : {"plain", "pinned", "locked"}) add(text);
    store.togglePin(at(1));
    store.setLocked(at(0), true);
    auto& thumbnails = ThumbnailCache::shared().cache;
    for (const auto& item : store.items().get()) {
        thumbnails.setObject(std::make_shared<Bitmap>(), item.id.uuidString());
    }
    const auto plain = at(2).id.uuidString();
    const auto pinned = at(1).id.uuidString();
    store.clear();
    EXPECT_EQ(texts(), (std::vector<std::string>{"-", "pinned"}));
    EXPECT_FALSE(thumbnails.objectForKey(plain));
    EXPECT_TRUE(thumbnails.objectForKey(pinned));

    desktop.runLoop.advance(1);
    desktop.files.files.clear();
    store.clear();
    desktop.runLoop.advance(1);
    EXPECT_FALSE(history().empty());

    store.replaceAll({});
    EXPECT_FALSE(thumbnails.objectForKey(pinned));
}

TEST_F(StoreTest, AddingReadsTheKeychainForTheSaveAlone) {
    for (int number = 0; number < 50; ++number) {
        add("secret " + std::to_string(number));
        store.setLocked(at(0), true);
    }
    const auto before = desktop.keychain.reads;
    add("secret 7");
    EXPECT_EQ(desktop.keychain.reads - before, 1);
    EXPECT_EQ(store.items()->size(), 51U);
}

// Locking and unlocking.

TEST_F(StoreTest, LockingMovesEveryPayloadThereAndBack) {
    store.add(fileItem("/a/b c.txt"));
    const auto plain = at(0);
    store.setLocked(plain, true);
    auto locked = at(0);
    EXPECT_TRUE(locked.isEncrypted);
    EXPECT_FALSE(locked._text || locked._fileURL);
    EXPECT_EQ(locked.text(), plain._text);
    EXPECT_EQ(locked.fileURL(), plain._fileURL);
    EXPECT_FALSE(locked.imageData());
    store.setLocked(locked, false);
    EXPECT_EQ(at(0), plain);
}

TEST_F(StoreTest, TwoPayloadsChangeTogetherOrNotAtAll) {
    store.add(fileItem("/a/b.txt"));
    const auto plain = at(0);
    desktop.keychain.refusesFromRead = desktop.keychain.reads + 2;
    store.setLocked(plain, true);
    auto expected = plain;
    expected.locked = true;
    EXPECT_EQ(at(0), expected) << "the flag is set, the payload is whole and plain";

    desktop.keychain.refusesFromRead = 0;
    store.setLocked(at(0), false);
    store.setLocked(at(0), true);
    const auto enciphered = at(0);
    desktop.keychain.refusesFromRead = desktop.keychain.reads + 2;
    store.setLocked(enciphered, false);
    expected = enciphered;
    expected.locked = false;
    EXPECT_EQ(at(0), expected);
    desktop.keychain.refusesFromRead = 0;
    EXPECT_FALSE(at(0).text()) << "not locked, so the enciphered text isn't asked for";
}

TEST_F(StoreTest, ALockedEntryIsNeverWrittenInTheClear) {
    add("locked words");
    store.setLocked(at(0), true);
    add("open words");
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    store.saveNow();
    EXPECT_NE(history().find("open words"), std::string::npos) << "the plain form";
    for (const auto& [path, content] : desktop.files.files) {
        EXPECT_EQ(asText(content).find("locked words"), std::string_view::npos) << path;
    }
}

TEST_F(StoreTest, ALockedEntryThatCannotBeDecipheredShowsNoTextButItsPlainURL) {
    auto item = fileItem("/plain/file");
    item.locked = true;
    item.isEncrypted = true;
    EXPECT_EQ(item.text(), item._text) << "no blob, so the plain field";
    item.encryptedText = Data(std::string_view("not a blob"));
    item.encryptedFileURL = item.encryptedText;
    item.encryptedImageData = item.encryptedText;
    EXPECT_FALSE(item.text());
    EXPECT_FALSE(item.imageData());
    EXPECT_EQ(item.fileURL(), item._fileURL);
}

}  // namespace
}  // namespace vellumix
