#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "linux/FakeSecretService.h"
#include "linux/PrivateSession.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/keyring/ChosenKeychain.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

const KeychainItem item{"com.tarnwick.Vellumix", "encryption-key"};
const KeychainPatience hasty{
    .forService = 0.5, .forServiceAtFirst = 0.5, .forUser = 2, .afterSilence = 0, .afterRefusal = 300};

/// 32 bytes that are no text in any encoding.
Bytes makeKey(std::uint8_t first = 0) {
    Bytes key(32);
    for (std::size_t i = 0; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(first + i * 37);
    key[5] = 0xFF;
    key[31] = 0;
    return key;
}

class KeychainTest : public testing::Test {
protected:
    std::string choice() {
        std::ifstream file(session.dataFolder() + "/keychain");
        std::string word;
        file >> word;
        return word;
    }
    bool hasKeyFile() { return files.exists(keyFilePath()); }
    std::string keyFilePath() { return session.dataFolder() + "/com.tarnwick.Vellumix.encryption-key"; }
    ChosenKeychain makeKeychain() { return ChosenKeychain(files, session.dataFolder(), hasty); }

    /// The bus answers in order: what was sent before has arrived by then.
    void serveUntilTheBusAnswers(GLibRunLoop& loop) {
        const glib::Object<GDBusConnection> shared(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        const auto answer = Operation::begin([&](auto... rest) {
            g_dbus_connection_call(shared.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE,
                                   -1, rest...);
        });
        loop.runUntil([&] { return answer->isDone(); });
    }

    RecordedLog log;
    PrivateSession session;
    PosixFileSystem files;
};

TEST_F(KeychainTest, KeepsTheKeyInAnUnlockedKeyring) {
    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.description(), "none yet");
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    EXPECT_EQ(choice(), "secret-service");
    EXPECT_EQ(keychain.SecItemDelete(item), errSecItemNotFound);
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    EXPECT_EQ(keyring.itemCount(), 1);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());

    auto another = makeKeychain();
    EXPECT_EQ(another.description(), "Secret Service");
    EXPECT_EQ(another.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(another.SecItemCopyMatching({item.service, "other"}).status, errSecItemNotFound);
    EXPECT_EQ(another.SecItemDelete(item), errSecSuccess);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    EXPECT_FALSE(hasKeyFile());
}

TEST_F(KeychainTest, SurvivesARestartOfTheService) {
    auto keyring = std::make_unique<GnomeKeyring>(session, GnomeKeyring::Start::unlocked);
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    keyring->kill();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecNotAvailable);
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey(1)), errSecNotAvailable);
    EXPECT_EQ(keychain.SecItemDelete(item), errSecNotAvailable);

    keyring = std::make_unique<GnomeKeyring>(session, GnomeKeyring::Start::unlocked);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    keyring->kill();
    keyring = std::make_unique<GnomeKeyring>(session, GnomeKeyring::Start::unlocked);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey()) << "with no call in between";
    EXPECT_EQ(keyring->itemCount(), 1);
    EXPECT_FALSE(hasKeyFile());
}

TEST_F(KeychainTest, NeverTakesALockedKeyringForAnEmptyOne) {
    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    keyring.lock();
    // The first read of a process asks and is turned down, later ones report at once.
    auto first = makeKeychain();
    EXPECT_EQ(first.SecItemCopyMatching(item).status, errSecUserCanceled);
    EXPECT_EQ(first.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_EQ(first.SecItemDelete(item), errSecInteractionNotAllowed);
    EXPECT_EQ(first.SecItemAdd(item, makeKey(1)), errSecInteractionNotAllowed);
    EXPECT_EQ(first.SecItemCopyMatching({item.service, "never-added"}).status, errSecInteractionNotAllowed);
    keyring.unlock();
    EXPECT_EQ(first.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(keyring.itemCount(), 1);
}

TEST_F(KeychainTest, NeverTakesAKeyringThatWasNeverUnlockedForAnEmptyOne) {
    {
        GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
        ASSERT_EQ(makeKeychain().SecItemAdd(item, makeKey()), errSecSuccess);
    }
    GnomeKeyring keyring(session, GnomeKeyring::Start::locked);
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecUserCanceled);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    keyring.unlock();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(keyring.itemCount(), 1);
}

TEST_F(KeychainTest, OpensItsSessionAheadAndLeavesWhatFailsToTheFirstCall) {
    {
        FakeSecretService service({});
        makeKeychain().prepare();
        EXPECT_EQ(service.calls, 0) << "no service is chosen yet";
        ASSERT_EQ(makeKeychain().SecItemAdd(item, makeKey()), errSecSuccess);
        auto keychain = makeKeychain();
        keychain.prepare();
        const auto limit = Deadline::in(10);
        const int before = service.calls;
        while (service.calls == before && !limit.hasPassed()) std::this_thread::yield();
        EXPECT_GT(service.calls, before) << "without a call";
        EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    }
    log.lines.clear();
    makeKeychain().prepare();
    EXPECT_TRUE(log.lines.empty()) << "there is no log yet when the program does so";
    auto withoutService = makeKeychain();
    withoutService.prepare();
    EXPECT_EQ(withoutService.SecItemCopyMatching(item).status, errSecNotAvailable);
    EXPECT_EQ(log.lines.size(), 1U);

    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    keyring.freeze();
    auto silent = makeKeychain();
    const auto limit = Deadline::in(5);
    silent.prepare();
    EXPECT_EQ(silent.SecItemCopyMatching(item).status, errSecTimedOut);
    EXPECT_FALSE(limit.hasPassed());
    EXPECT_EQ(log.lines.size(), 2U);
    keyring.thaw();
    EXPECT_EQ(silent.SecItemCopyMatching(item).status, errSecItemNotFound);
}

TEST_F(KeychainTest, ASilentServiceDecidesNothing) {
    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    keyring.freeze();
    auto keychain = makeKeychain();
    const auto begin = Deadline::in(2);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecTimedOut);
    EXPECT_FALSE(begin.hasPassed());
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey(1)), errSecTimedOut);
    EXPECT_EQ(choice(), "");
    EXPECT_EQ(keychain.description(), "none yet");
    EXPECT_FALSE(hasKeyFile());
    keyring.thaw();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);

    // The same in the middle of the use.
    keyring.freeze();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecTimedOut);
    keyring.thaw();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(keyring.itemCount(), 1);
}

TEST_F(KeychainTest, AfterASilenceTheProgramIsNotStalledAgain) {
    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    keyring.freeze();
    auto patience = hasty;
    patience.afterSilence = 300;
    ChosenKeychain keychain(files, session.dataFolder(), patience);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecTimedOut);
    const auto quick = Deadline::in(patience.forService);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecTimedOut);
    EXPECT_FALSE(quick.hasPassed());
}

TEST_F(KeychainTest, WithoutAServiceTheKeyFileIsChosenOnceAndForGood) {
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    EXPECT_EQ(choice(), "key-file");
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(keychain.description(), "key file");
    struct stat facts {};
    ASSERT_EQ(::stat(keyFilePath().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0600u);

    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    auto later = makeKeychain();
    EXPECT_EQ(later.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(later.SecItemAdd(item, makeKey(1)), errSecIO) << "a key is never replaced";
    EXPECT_EQ(keyring.itemCount(), 0);
    EXPECT_EQ(log.count("There is no Secret Service"), 1u);
}

TEST_F(KeychainTest, AServiceOnceUsedIsMissedAndNotReplaced) {
    {
        GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
        ASSERT_EQ(makeKeychain().SecItemAdd(item, makeKey()), errSecSuccess);
    }
    auto withoutService = makeKeychain();
    EXPECT_EQ(withoutService.SecItemCopyMatching(item).status, errSecNotAvailable);
    EXPECT_EQ(withoutService.SecItemAdd(item, makeKey(1)), errSecNotAvailable);
    session.endBus();
    EXPECT_EQ(withoutService.SecItemCopyMatching(item).status, errSecNotAvailable);
    EXPECT_EQ(makeKeychain().SecItemCopyMatching(item).status, errSecNotAvailable);
    EXPECT_EQ(choice(), "secret-service");
    EXPECT_FALSE(hasKeyFile());
}

TEST(KeychainWithoutBus, KeyFileServes) {
    RecordedLog log;
    PrivateSession session(PrivateSession::Bus::absent);
    PosixFileSystem files;
    ChosenKeychain keychain(files, session.dataFolder(), hasty);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    ChosenKeychain another(files, session.dataFolder(), hasty);
    EXPECT_EQ(another.SecItemCopyMatching(item).data, makeKey());
    EXPECT_EQ(log.count("There is no Secret Service"), 1u);
}

TEST_F(KeychainTest, WhatCantBeReadIsNeverNotFound) {
    struct Case {
        const char* what;
        const char* choice;
        std::string damagedPath;
        OSStatus status;
    };
    const auto choicePath = session.dataFolder() + "/keychain";
    const Case cases[]{
        {"a choice of unknown content", "key-vault\n", {}, errSecIO},
        {"an empty choice", "", {}, errSecIO},
        {"a folder as the choice", nullptr, choicePath, errSecIO},
        {"a folder as the key", "key-file\n", keyFilePath(), errSecIO},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        ASSERT_FALSE(files.makeFolder(session.dataFolder()));
        if (one.choice) std::ofstream(choicePath) << one.choice;
        if (!one.damagedPath.empty()) ::mkdir(one.damagedPath.c_str(), 0700);
        auto keychain = makeKeychain();
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, one.status);
        EXPECT_EQ(keychain.SecItemAdd(item, makeKey()), errSecIO);
        ::rmdir(one.damagedPath.c_str());
        ::unlink(choicePath.c_str());
        EXPECT_FALSE(hasKeyFile());
    }
}

TEST_F(KeychainTest, AKeyOfTheWrongSizeIsHandedOver) {
    ASSERT_FALSE(files.makeFolder(session.dataFolder()));
    std::ofstream(keyFilePath()) << "short";
    auto keychain = makeKeychain();
    const auto match = keychain.SecItemCopyMatching(item);
    EXPECT_EQ(match.status, errSecSuccess);
    EXPECT_EQ(match.data->size(), 5u);
    EXPECT_EQ(choice(), "key-file") << "a key file without a choice is the choice";
}

TEST_F(KeychainTest, AChoiceThatCanBeReadAgainIsUsed) {
    const auto choicePath = session.dataFolder() + "/keychain";
    ASSERT_FALSE(files.makeFolder(session.dataFolder()));
    std::ofstream(keyFilePath()) << std::string(32, 'k');
    ::mkdir(choicePath.c_str(), 0700);
    auto keychain = makeKeychain();
    for (int call = 0; call < 2; ++call) EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecIO);
    EXPECT_EQ(log.count("can't be read; no key is used or made"), 1u);
    ::rmdir(choicePath.c_str());
    std::ofstream(choicePath) << "key-file\n";
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, Bytes(32, 'k'));
}

TEST_F(KeychainTest, WithoutItsFolderNoSecondKeyIsMade) {
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    const auto away = session.dataFolder() + ".away";
    ASSERT_FALSE(files.rename(session.dataFolder(), away));
    for (int call = 0; call < 2; ++call) {
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecIO);
        EXPECT_EQ(keychain.SecItemAdd(item, makeKey(1)), errSecIO);
    }
    EXPECT_FALSE(files.exists(session.dataFolder()));
    EXPECT_EQ(log.count("no other key is made"), 1u);
    ASSERT_FALSE(files.rename(away, session.dataFolder()));
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    // The key alone is another matter: who removes it wants a new one.
    EXPECT_EQ(keychain.SecItemDelete(item), errSecSuccess);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey(1)), errSecSuccess);
}

TEST_F(KeychainTest, AKeyFileThatOthersMayReadIsClosedAndSaid) {
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    ASSERT_EQ(::chmod(keyFilePath().c_str(), 0644), 0);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
    struct stat facts {};
    ASSERT_EQ(::stat(keyFilePath().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777, 0600u);
    EXPECT_EQ(log.count("The key file could be read by others until now"), 1u);
}

TEST_F(KeychainTest, WhatAKilledWriteLeftIsClearedAway) {
    ASSERT_FALSE(files.makeFolder(session.dataFolder()));
    const std::string left[]{session.dataFolder() + "/.keychain.tmp",
                             session.dataFolder() + "/.com.tarnwick.Vellumix.encryption-key.tmp"};
    for (const auto& path : left) std::ofstream(path) << "half";
    makeKeychain().clearLeftovers(item);
    for (const auto& path : left) EXPECT_FALSE(files.exists(path)) << path;
}

TEST_F(KeychainTest, WithoutTheChoiceOnDiskNoKeyIsMade) {
    GnomeKeyring keyring(session, GnomeKeyring::Start::unlocked);
    // A file where the folder should be: nothing can be written there.
    std::ofstream(session.home() + "/data/Vellumix") << "in the way";
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecIO);
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey()), errSecIO);
    EXPECT_EQ(keyring.itemCount(), 0);
}

TEST_F(KeychainTest, TheFirstReadWaitsForTheUserAndNothingElseRunsMeanwhile) {
    FakeSecretService service({.user = FakeSecretService::User::agrees, .isLocked = true});
    GLibRunLoop loop;
    int fired = 0;
    const auto timer = loop.repeatingTimer(0.0001, [&] { ++fired; });
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound) << "unlocked, and really empty";
    EXPECT_EQ(service.prompts, 1);
    EXPECT_EQ(fired, 0);
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    EXPECT_EQ(keychain.SecItemCopyMatching(item).data, makeKey());
}

TEST_F(KeychainTest, ARefusalIsRespected) {
    FakeSecretService service({.user = FakeSecretService::User::refuses, .isLocked = true});
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecUserCanceled);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_EQ(service.prompts, 1);
    EXPECT_EQ(service.stored, 0);
}

TEST_F(KeychainTest, OneQuestionIsOpenAtATimeAndItsLateAnswerCounts) {
    FakeSecretService service({.user = FakeSecretService::User::isAway, .isLocked = true});
    auto patience = hasty;
    patience.forUser = 0.2;
    ChosenKeychain keychain(files, session.dataFolder(), patience);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_EQ(service.prompts, 1);
    EXPECT_EQ(service.dismissals, 0);
    service.answerPrompt();
    const auto limit = Deadline::in(10);
    OSStatus status = errSecInteractionNotAllowed;
    while (status == errSecInteractionNotAllowed && !limit.hasPassed())
        status = keychain.SecItemCopyMatching(item).status;
    EXPECT_EQ(status, errSecItemNotFound);
    EXPECT_EQ(service.prompts, 1);
}

TEST_F(KeychainTest, NobodyIsWaitedForWhoCannotAnswer) {
    FakeSecretService service({.user = FakeSecretService::User::isAway, .isLocked = true});
    GLibRunLoop loop;
    auto patience = hasty;
    patience.forUser = 60;
    patience.canUserAnswer = [] { return false; };
    ChosenKeychain keychain(files, session.dataFolder(), patience);
    const auto before = loop.uptime();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_LT(loop.uptime() - before, 30);
    EXPECT_EQ(log.count("close the panel"), 1U);
    const auto limit = Deadline::in(10);
    loop.runUntil([&] { return service.prompts > 0 || limit.hasPassed(); });
    EXPECT_EQ(service.prompts, 1) << "the desktop asks all the same";
    service.answerPrompt();
    OSStatus status = errSecInteractionNotAllowed;
    const auto retry = loop.repeatingTimer(0.01, [&] { status = keychain.SecItemCopyMatching(item).status; });
    loop.runUntil([&] { return status != errSecInteractionNotAllowed || limit.hasPassed(); });
    EXPECT_EQ(status, errSecItemNotFound);
    serveUntilTheBusAnswers(loop);
}

TEST_F(KeychainTest, LaterReadsAskWithoutWaiting) {
    FakeSecretService service({.user = FakeSecretService::User::agrees});
    GLibRunLoop loop;
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    ASSERT_EQ(keychain.SecItemCopyMatching(item).status, errSecSuccess);
    service.lock();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_EQ(service.prompts, 0) << "nothing was asked inside the read";
    const auto limit = Deadline::in(10);
    loop.runUntil([&] { return service.prompts > 0 || limit.hasPassed(); });
    OSStatus status = errSecInteractionNotAllowed;
    const auto retry = loop.repeatingTimer(0.01, [&] { status = keychain.SecItemCopyMatching(item).status; });
    loop.runUntil([&] { return status == errSecSuccess || limit.hasPassed(); });
    EXPECT_EQ(status, errSecSuccess);
    EXPECT_EQ(service.prompts, 1);
    serveUntilTheBusAnswers(loop);
}

TEST_F(KeychainTest, TheFirstCollectionIsMadeByTheService) {
    FakeSecretService service({.user = FakeSecretService::User::agrees, .hasCollection = false});
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    EXPECT_EQ(service.prompts, 0);
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    EXPECT_EQ(service.prompts, 1);
    EXPECT_EQ(service.stored, 1);

    FakeSecretService::Manners unwilling{.user = FakeSecretService::User::refuses, .hasCollection = false};
    service.set(unwilling);
    auto another = makeKeychain();
    EXPECT_EQ(another.SecItemAdd(item, makeKey(1)), errSecUserCanceled);
    EXPECT_EQ(another.SecItemAdd(item, makeKey(1)), errSecInteractionNotAllowed);
    EXPECT_EQ(service.stored, 1);
}

TEST_F(KeychainTest, AKeyThatTheServiceChangesIsNotKept) {
    FakeSecretService service({.storage = FakeSecretService::Storage::textOnly});
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemAdd(item, makeKey()), errSecIO);
    EXPECT_EQ(service.stored, 0);
}

TEST_F(KeychainTest, AServiceThatFallsSilentAfterItsFirstAnswerIsStillTheChoice) {
    FakeSecretService service({.isMute = true});
    auto keychain = makeKeychain();
    EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecTimedOut);
    EXPECT_EQ(choice(), "secret-service");
    EXPECT_FALSE(hasKeyFile());
}

TEST_F(KeychainTest, AReadCostsFewRoundTrips) {
    FakeSecretService service({.user = FakeSecretService::User::refuses});
    auto keychain = makeKeychain();
    ASSERT_EQ(keychain.SecItemAdd(item, makeKey()), errSecSuccess);
    int before = service.calls;
    ASSERT_EQ(keychain.SecItemCopyMatching(item).status, errSecSuccess);
    EXPECT_EQ(service.calls - before, 2);
    service.lock();
    auto another = makeKeychain();
    EXPECT_EQ(another.SecItemCopyMatching(item).status, errSecUserCanceled);
    before = service.calls;
    EXPECT_EQ(another.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    EXPECT_LE(service.calls - before, 3);
}

// The last one: libsecret 0.20 keeps a reference to the shared connection when an open question is called
// off.
TEST_F(KeychainTest, AnOpenQuestionGoesWithTheProgram) {
    FakeSecretService service({.user = FakeSecretService::User::isAway, .isLocked = true});
    {
        auto patience = hasty;
        patience.forUser = 0.1;
        ChosenKeychain keychain(files, session.dataFolder(), patience);
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecInteractionNotAllowed);
    }
    EXPECT_EQ(service.dismissals, 1);
}

}  // namespace
}  // namespace vellumix::linux_desktop

#ifdef VELLUMIX_ADDRESS_SANITIZER
extern "C" const char* __asan_default_options();
extern "C" const char* __lsan_default_suppressions();
/// The libraries are built without frame pointers, which the suppression below needs to find its function.
extern "C" const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
/// What libsecret 0.20 doesn't free of a question that is called off, which happens once, at the end of a
/// process.
extern "C" const char* __lsan_default_suppressions() { return "leak:_secret_prompt_instance\n"; }
#endif
