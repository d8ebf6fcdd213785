#include <dlfcn.h>
#include <gcrypt.h>
#include <sys/resource.h>

#include <cstring>

#include "core/history/EncryptionManager.h"
#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "support/HeadlessTest.h"
#include "support/ProcessMemory.h"

namespace vellumix {
namespace {

/// How many calls of the library's cipher still work; negative for all.
int workingCalls = -1;

}  // namespace
}  // namespace vellumix

/// Stands before the library's own, and fails as that does: what would have been the ciphertext is filled.
extern "C" gcry_error_t gcry_cipher_encrypt(gcry_cipher_hd_t cipher, void* out, std::size_t outSize,
                                            const void* in, std::size_t inSize) {
    static const auto real =
        reinterpret_cast<decltype(&gcry_cipher_encrypt)>(::dlsym(RTLD_NEXT, "gcry_cipher_encrypt"));
    if (vellumix::workingCalls < 0 || vellumix::workingCalls-- > 0)
        return real(cipher, out, outSize, in, inSize);
    vellumix::workingCalls = 0;
    std::memset(out, 0x42, outSize);
    return gcry_error(GPG_ERR_INV_STATE);
}

namespace vellumix {
namespace {

class CipherFailureTest : public HeadlessTest {
protected:
    ~CipherFailureTest() override { workingCalls = -1; }
};

TEST_F(CipherFailureTest, CostsNeitherTheEntryNorTheHistory) {
    std::string reason;
    const auto observation = NotificationCenter::defaultCenter().observe(
        "EncryptionFailed",
        [&](const auto& info) { reason = info.at("operation") + ' ' + info.at("reason"); });
    for (const int calls : {0, 1, 2}) {
        SCOPED_TRACE(calls);
        desktop.files.files.clear();
        reason.clear();
        {
            Store store;
            workingCalls = calls;
            auto file = fileItem("/home/ana/letter.txt");
            store.add(file);
            store.setLocked(file, true);
            workingCalls = 0;
            store.saveNow();
            EXPECT_TRUE(store.items()->front().isLockedInClear() || calls == 2);
            EXPECT_EQ(reason, "encrypt cipherFailure");
        }
        EXPECT_TRUE(history().starts_with("[{")) << "in plain form, and whole";
        workingCalls = -1;
        Store again;
        ASSERT_EQ(again.items()->size(), 1U);
        EXPECT_EQ(again.items()->front().text(), String("letter.txt"));
        EXPECT_EQ(again.items()->front().fileURL()->path(), "/home/ana/letter.txt");
        // The first save with a key makes up for what failed.
        again.add(textItem("another"));
        EXPECT_FALSE(again.items()->back().isLockedInClear());
        again.saveNow();
        EXPECT_TRUE(history().starts_with("VLX1"));
        EXPECT_EQ(Store().items()->back().text(), String("letter.txt"));
    }
}

constexpr std::size_t largeSize = 40'000'000;
/// Too little for either of the two copies that deciphering makes, and enough for the first alone. The second
/// of a text comes from the heap, and a sanitizer's heap ends the process instead.
constexpr std::size_t leftForDeciphering[] = {largeSize / 2,
#ifndef VELLUMIX_ADDRESS_SANITIZER
                                              largeSize * 3 / 2
#endif
};

/// The memory that is left to this process while the work is done, in bytes.
template <class Work>
void withLeft(std::size_t left, Work work) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_AS, &before), 0);
    const rlimit tight{tests::ProcessMemory::now().mapped + left, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_AS, &tight), 0);
    work();
    ::setrlimit(RLIMIT_AS, &before);
}

TEST_F(CipherFailureTest, ALackOfMemoryCostsNeitherTheEntryNorTheProgram) {
    std::vector<std::string> failures;
    const auto observation = NotificationCenter::defaultCenter().observe(
        EncryptionManager::failedNotification,
        [&](const auto& info) { failures.push_back(info.at("operation") + ' ' + info.at("reason")); });
    const std::string content(largeSize, 'x');
    for (const auto& item : {textItem(content), imageItem(content)}) {
        desktop.files.files.clear();
        Store store;
        store.add(item);
        const auto entry = [&] { return store.items()->front(); };
        const auto isReadable = [&] { return entry().text() || entry().imageData(); };
        const auto isWhole = [&] {
            return entry().text() == item._text && entry().imageData() == item._imageData;
        };
        failures.clear();
        withLeft(largeSize / 2, [&] { store.setLocked(entry(), true); });
        ASSERT_FALSE(failures.empty());
        EXPECT_EQ(failures.front(), "encrypt noMemory");
        EXPECT_TRUE(entry().isLockedInClear() && isWhole());
        store.saveNow();
        EXPECT_TRUE(entry().isEncrypted) << "made up for by the next save";
        for (const auto left : leftForDeciphering) {
            failures.clear();
            withLeft(left, [&] {
                EXPECT_FALSE(isReadable());
                HistorySearch::shared().found({entry()}, {.query = String("x")});
                HistorySearch::shared().forget();
                store.setLocked(entry(), false);
            });
            // A search asks for texts alone.
            EXPECT_EQ(failures, std::vector<std::string>(item._text ? 3 : 2, "decrypt noMemory"));
            store.setLocked(entry(), true);
            EXPECT_TRUE(isWhole());
        }
    }
}

TEST_F(CipherFailureTest, AnEntryThatWasLockedWithoutAKeyIsEncipheredWithTheFirstSaveThatHasOne) {
    Store store;
    const auto item = textItem("locked words");
    store.add(item);
    desktop.keychain.refusal = errSecInteractionNotAllowed;
    store.setLocked(item, true);
    store.saveNow();
    EXPECT_TRUE(store.items()->front().isLockedInClear());
    desktop.keychain.refusal.reset();
    int changes = 0;
    const auto observation = store.observeItems([&] { ++changes; });
    store.add(textItem("another"));
    EXPECT_EQ(changes, 2) << "the addition, and the enciphering";
    EXPECT_TRUE(store.items()->back().isEncrypted);
    EXPECT_EQ(store.items()->back().text(), item._text);
    store.saveNow();
    desktop.keychain.items.clear();
    EXPECT_EQ(history().find("locked words"), std::string::npos);
}

}  // namespace
}  // namespace vellumix
