// The contracts of platform/foundation/files/FileSystem.h and platform/desktop/Keychain.h, held by what is in
// memory and by what is on disk or with a service.

#include <gtest/gtest.h>

#include <functional>

#include "linux/PrivateSession.h"
#include "linux/TestProcess.h"
#include "platform/headless/Desktop.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/keyring/ChosenKeychain.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::tests {

namespace {

const KeychainItem item{"com.tarnwick.Vellumix", "encryption-key"};

}  // namespace

/// A file system, and a folder in it that is there.
struct Disk {
    virtual ~Disk() = default;
    virtual FileSystem& files() = 0;
    virtual std::string folder() const = 0;
};

struct MemoryDisk final : Disk {
    FileSystem& files() override { return memory; }
    std::string folder() const override { return "/data"; }
    headless::MemoryFileSystem memory;
};

struct PosixDisk final : Disk {
    FileSystem& files() override { return posix; }
    std::string folder() const override { return temporary.path(); }
    linux_desktop::TemporaryFolder temporary;
    linux_desktop::PosixFileSystem posix;
};

struct DiskChoice {
    const char* name;
    std::unique_ptr<Disk> (*make)();
};

class FileSystemContract : public testing::TestWithParam<DiskChoice> {
protected:
    void SetUp() override { ASSERT_FALSE(files.makeFolder(disk->folder())); }
    std::string path(const char* name) const { return disk->folder() + '/' + name; }
    void put(const char* name, const char* text) {
        EXPECT_FALSE(writeAtomically(files, path(name), viewOf(text))) << name;
    }
    /// The content, or "error".
    std::string content(const std::string& file) {
        Bytes bytes(7);
        const auto error = files.read(file, 100, bytes);
        if (error) {
            EXPECT_TRUE(bytes.empty());
        }
        return error ? "error" : std::string(asText(bytes));
    }

    const std::unique_ptr<Disk> disk = GetParam().make();
    FileSystem& files = disk->files();
};

TEST_P(FileSystemContract, ErrorsNameTheirReason) {
    put("file", "1234");
    ASSERT_FALSE(files.makeFolder(path("folder")));
    Bytes bytes;
    FileSystem::Handle handle{};
    const std::tuple<const char*, std::error_code, std::errc> cases[] = {
        {"read absent", files.read(path("absent"), 9, bytes), std::errc::no_such_file_or_directory},
        {"read a folder", files.read(path("folder"), 9, bytes), std::errc::is_a_directory},
        {"read too much", files.read(path("file"), 3, bytes), std::errc::file_too_large},
        {"open nowhere", files.openForWriting(path("absent/file"), handle),
         std::errc::no_such_file_or_directory},
        {"open a folder", files.openForWriting(path("folder"), handle), std::errc::is_a_directory},
        {"new over a file", files.openNew(path("file"), handle), std::errc::file_exists},
        {"new over a folder", files.openNew(path("folder"), handle), std::errc::file_exists},
        {"write to nothing", files.write(1000, viewOf("x")), std::errc::bad_file_descriptor},
        {"close nothing", files.close(1000), std::errc::bad_file_descriptor},
        {"rename absent", files.rename(path("absent"), path("x")), std::errc::no_such_file_or_directory},
        {"remove absent", files.remove(path("absent")), std::errc::no_such_file_or_directory},
        {"folder over a file", files.makeFolder(path("file")), std::errc::not_a_directory},
        {"folder below a file", files.makeFolder(path("file/below")), std::errc::not_a_directory},
        {"sync an absent folder", files.syncFolder(path("absent")), std::errc::no_such_file_or_directory},
        {"write nowhere", writeAtomically(files, path("absent/file"), viewOf("x")),
         std::errc::no_such_file_or_directory},
    };
    for (const auto& [name, error, reason] : cases) EXPECT_TRUE(error == reason) << name << ": " << error;
    EXPECT_EQ(content(path("file")), "1234");
}

TEST_P(FileSystemContract, AFileIsThereWholeUnderItsNameAndGoesWithIt) {
    ASSERT_FALSE(files.makeFolder(path("a/b")));
    ASSERT_FALSE(files.makeFolder(path("a/b"))) << "there already";
    EXPECT_TRUE(files.exists(path("a")));
    FileSystem::Handle handle{};
    ASSERT_FALSE(files.openNew(path("a/b/file"), handle));
    EXPECT_FALSE(files.write(handle, viewOf("old ")));
    EXPECT_FALSE(files.write(handle, viewOf("text")));
    EXPECT_FALSE(files.sync(handle));
    EXPECT_FALSE(files.close(handle));
    EXPECT_EQ(content(path("a/b/file")), "old text");
    ASSERT_FALSE(files.openForWriting(path("a/b/file"), handle));
    EXPECT_FALSE(files.write(handle, viewOf("new")));
    EXPECT_FALSE(files.close(handle));
    EXPECT_EQ(content(path("a/b/file")), "new") << "emptied first";
    put("other", "other");
    EXPECT_FALSE(files.rename(path("a/b/file"), path("other")));
    EXPECT_EQ(content(path("other")), "new");
    EXPECT_FALSE(files.exists(path("a/b/file")));
    EXPECT_FALSE(files.remove(path("other")));
    EXPECT_FALSE(files.exists(path("other")));
    EXPECT_FALSE(files.syncFolder(disk->folder()));
}

TEST_P(FileSystemContract, ATornWriteIsClearedAwayAndWhatCantBeReadMakesRoom) {
    put("history.json", "1");
    for (const auto* name : {".history.json.tmp", ".history.json.tmp3"}) {
        FileSystem::Handle handle{};
        ASSERT_FALSE(files.openNew(path(name), handle));
        EXPECT_FALSE(files.close(handle));
    }
    removeLeftovers(files, path("history.json"));
    EXPECT_FALSE(files.exists(path(".history.json.tmp")));
    EXPECT_FALSE(files.exists(path(".history.json.tmp3")));
    EXPECT_EQ(content(path("history.json")), "1");

    for (const auto* name : {"history.unreadable-now.json", "history.unreadable-now-2.json"}) {
        EXPECT_EQ(moveAside(files, path("history.json"), "now"), path(name));
        EXPECT_EQ(content(path(name)), "1");
        EXPECT_EQ(moveAside(files, path("history.json"), "now"), "") << "nothing is left to move";
        put("history.json", "1");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Every, FileSystemContract,
    testing::Values(
        DiskChoice{"headless", []() -> std::unique_ptr<Disk> { return std::make_unique<MemoryDisk>(); }},
        DiskChoice{"posix", []() -> std::unique_ptr<Disk> { return std::make_unique<PosixDisk>(); }}),
    [](const auto& info) { return std::string(info.param.name); });

/// What keeps secrets, with all that it stands on.
struct Vault {
    virtual ~Vault() = default;
    virtual Keychain& keychain() = 0;
};

struct MemoryVault final : Vault {
    Keychain& keychain() override { return memory; }
    headless::Keychain memory;
};

struct KeyFileVault : Vault {
    explicit KeyFileVault(linux_desktop::PrivateSession::Bus bus = linux_desktop::PrivateSession::Bus::absent)
        : session(bus), chosen(files, session.dataFolder(), linux_desktop::KeychainPatience{}) {}
    Keychain& keychain() override { return chosen; }

    linux_desktop::RecordedLog log;
    linux_desktop::PrivateSession session;
    linux_desktop::PosixFileSystem files;
    linux_desktop::ChosenKeychain chosen;
};

struct ServiceVault final : KeyFileVault {
    ServiceVault() : KeyFileVault(linux_desktop::PrivateSession::Bus::running) {}
    linux_desktop::GnomeKeyring keyring{session, linux_desktop::GnomeKeyring::Start::unlocked};
};

struct VaultChoice {
    const char* name;
    std::unique_ptr<Vault> (*make)();
};

class KeychainContract : public testing::TestWithParam<VaultChoice> {
protected:
    const std::unique_ptr<Vault> vault = GetParam().make();
    Keychain& keychain = vault->keychain();
};

TEST_P(KeychainContract, AnItemIsThereFromItsAddingToItsDeletionAndNoOtherIs) {
    // No text in any encoding, and with a zero at its end.
    Bytes key(32, 0xFF);
    key.back() = 0;
    EXPECT_NE(keychain.description(), "");
    const auto absent = keychain.SecItemCopyMatching(item);
    EXPECT_EQ(absent.status, errSecItemNotFound);
    EXPECT_FALSE(absent.data);
    EXPECT_EQ(keychain.SecItemDelete(item), errSecItemNotFound);
    for (const std::uint8_t first : {std::uint8_t{1}, std::uint8_t{2}}) {
        key.front() = first;
        ASSERT_EQ(keychain.SecItemAdd(item, key), errSecSuccess);
        const auto match = keychain.SecItemCopyMatching(item);
        EXPECT_EQ(match.status, errSecSuccess);
        EXPECT_EQ(match.data, key);
        EXPECT_EQ(keychain.SecItemCopyMatching({item.service, "other"}).status, errSecItemNotFound);
        EXPECT_EQ(keychain.SecItemCopyMatching({"other", item.account}).status, errSecItemNotFound);
        EXPECT_EQ(keychain.SecItemDelete(item), errSecSuccess);
        EXPECT_EQ(keychain.SecItemCopyMatching(item).status, errSecItemNotFound);
    }
    EXPECT_EQ(keychain.SecItemDelete(item), errSecItemNotFound);
}

INSTANTIATE_TEST_SUITE_P(
    Every, KeychainContract,
    testing::Values(
        VaultChoice{"headless", []() -> std::unique_ptr<Vault> { return std::make_unique<MemoryVault>(); }},
        VaultChoice{"key_file", []() -> std::unique_ptr<Vault> { return std::make_unique<KeyFileVault>(); }},
        VaultChoice{"secret_service",
                    []() -> std::unique_ptr<Vault> { return std::make_unique<ServiceVault>(); }}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace vellumix::tests
