#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <numeric>

#include "linux/TestProcess.h"
#include "platform/linux/files/Paths.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/files/ReadAhead.h"
#include "platform/linux/process/InstanceLock.h"
#include "platform/linux/process/Locale.h"
#include "platform/linux/process/SystemLog.h"

namespace vellumix::linux_desktop {
namespace {

constexpr uid_t nobody = 65534;
constexpr std::size_t plenty = std::size_t{1} << 30;

class FileSystemTest : public testing::Test {
protected:
    std::string path(const char* name) const { return folder.path() + '/' + name; }
    std::string contentOf(const std::string& file) {
        Bytes content;
        EXPECT_FALSE(files.read(file, plenty, content)) << file;
        return std::string(asText(content));
    }
    static mode_t modeOf(const std::string& file) {
        struct stat facts {};
        EXPECT_EQ(::stat(file.c_str(), &facts), 0) << file;
        return facts.st_mode & 07777;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            found.push_back(entry.path().filename());
        std::sort(found.begin(), found.end());
        return found;
    }

    TemporaryFolder folder;
    PosixFileSystem files;
};

TEST_F(FileSystemTest, ModesAreExactWhateverTheUmask) {
    for (const mode_t mask : {0000, 0077, 0777}) {
        SCOPED_TRACE(mask);
        const auto deep = path(std::to_string(mask).c_str());
        const auto outer = ::umask(mask);
        EXPECT_FALSE(files.makeFolder(deep + "/a/b"));
        EXPECT_FALSE(files.makeFolder(deep + "/a/b"));
        EXPECT_FALSE(writeAtomically(files, deep + "/a/b/file", viewOf("text")));
        ::umask(outer);
        EXPECT_EQ(modeOf(deep), 0700u);
        EXPECT_EQ(modeOf(deep + "/a"), 0700u);
        EXPECT_EQ(modeOf(deep + "/a/b/file"), 0600u);
    }
    std::ofstream(path("wide")) << "old and longer";
    ::chmod(path("wide").c_str(), 0666);
    FileSystem::Handle handle{};
    ASSERT_FALSE(files.openForWriting(path("wide"), handle));
    EXPECT_FALSE(files.write(handle, viewOf("new")));
    EXPECT_FALSE(files.sync(handle));
    EXPECT_FALSE(files.close(handle));
    EXPECT_EQ(modeOf(path("wide")), 0600u);
    EXPECT_EQ(contentOf(path("wide")), "new");
}

TEST_F(FileSystemTest, WhatIsReadAheadIsReadOnce) {
    ReadAhead ahead;
    std::ofstream(path("file")) << "first";
    std::ofstream(path("other")) << "other";
    ahead.begin(path("file"), plenty);
    const auto contentNow = [&](const char* name) {
        Bytes content;
        EXPECT_FALSE(ahead.read(path(name), plenty, content));
        return std::string(asText(content));
    };
    EXPECT_EQ(contentNow("other"), "other");
    EXPECT_EQ(contentNow("file"), "first");
    std::ofstream(path("file")) << "second";
    EXPECT_EQ(contentNow("file"), "second");

    ahead.begin(path("absent"), plenty);
    Bytes content;
    EXPECT_TRUE(ahead.read(path("absent"), plenty, content) == std::errc::no_such_file_or_directory);
    ahead.begin(path("file"), 3);
    EXPECT_EQ(contentNow("file"), "second") << "another limit is another question";
}

TEST_F(FileSystemTest, ReadsWholeRegularFilesOnly) {
    Bytes large(30 * 1024 * 1024);
    std::iota(large.begin(), large.end(), std::uint8_t{0});
    ASSERT_FALSE(writeAtomically(files, path("large"), large));
    Bytes content(7);
    ASSERT_FALSE(files.read(path("large"), plenty, content));
    EXPECT_EQ(content, large);
    std::ofstream(path("empty"));
    ASSERT_FALSE(files.read(path("empty"), plenty, content));
    EXPECT_TRUE(content.empty());

    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink(path("pipe").c_str(), path("link").c_str()), 0);
    ASSERT_FALSE(files.makeFolder(path("folder")));
    const struct {
        std::string path;
        std::errc reason;
    } refused[]{
        {path("absent"), std::errc::no_such_file_or_directory},
        {path("folder"), std::errc::is_a_directory},
        {path("pipe"), std::errc::invalid_argument},
        {path("link"), std::errc::invalid_argument},
        {"/dev/zero", std::errc::invalid_argument},
    };
    for (const auto& one : refused) {
        EXPECT_TRUE(files.read(one.path, plenty, content) == one.reason) << one.path;
        EXPECT_TRUE(content.empty());
    }
    // The kernel says 0 bytes of these, and yet they have content.
    ASSERT_FALSE(files.read("/proc/self/status", plenty, content));
    EXPECT_TRUE(asText(content).starts_with("Name:"));
}

TEST_F(FileSystemTest, NoMemoryIsTakenForWhatIsTooLarge) {
    std::ofstream(path("three")) << "123";
    std::ofstream(path("huge"));
    // Sparse, and yet more than the machine has memory for.
    ASSERT_EQ(::truncate(path("huge").c_str(), off_t{1} << 40), 0);
    const struct {
        std::string path;
        std::size_t limit;
        std::error_code error;
    } cases[]{
        {path("three"), 3, {}},
        {path("three"), 2, std::make_error_code(std::errc::file_too_large)},
        {path("huge"), plenty, std::make_error_code(std::errc::file_too_large)},
        // Of these the kernel doesn't say beforehand how much they hold.
        {"/proc/self/status", 10, std::make_error_code(std::errc::file_too_large)},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.path);
        Bytes content(7);
        EXPECT_EQ(files.read(one.path, one.limit, content), one.error);
        EXPECT_EQ(content.size(), one.error ? 0U : 3U);
        EXPECT_LT(content.capacity(), 100'000U);
    }
}

TEST_F(FileSystemTest, NeverWritesThroughALinkOrIntoAPipe) {
    std::ofstream(path("victim")) << "untouched";
    ASSERT_EQ(::symlink(path("victim").c_str(), path("link").c_str()), 0);
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    FileSystem::Handle handle{};
    EXPECT_TRUE(files.openForWriting(path("link"), handle) == std::errc::too_many_symbolic_link_levels);
    EXPECT_TRUE(files.openForWriting(path("pipe"), handle));
    EXPECT_TRUE(files.openForWriting(folder.path(), handle));
}

TEST_F(FileSystemTest, WhateverHasTheTemporaryNameIsNeitherFollowedNorInTheWay) {
    std::ofstream(path("victim")) << "untouched";
    const auto temporary = path(".file.tmp");
    const struct {
        const char* what;
        std::function<void()> put;
        bool stays;
    } cases[]{
        {"a link", [&] { ASSERT_EQ(::symlink(path("victim").c_str(), temporary.c_str()), 0); }, false},
        {"a torn write", [&] { std::ofstream(temporary) << "half"; }, false},
        {"a pipe", [&] { ASSERT_EQ(::mkfifo(temporary.c_str(), 0600), 0); }, false},
        {"a folder", [&] { ASSERT_EQ(::mkdir(temporary.c_str(), 0700), 0); }, true},
        {"more folders", [&] { ASSERT_EQ(::mkdir(path(".file.tmp2").c_str(), 0700), 0); }, true},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        one.put();
        EXPECT_FALSE(writeAtomically(files, path("file"), viewOf(one.what)));
        EXPECT_EQ(contentOf(path("file")), one.what);
        EXPECT_EQ(files.exists(temporary), one.stays);
        EXPECT_EQ(contentOf(path("victim")), "untouched");
    }
    std::ofstream(path(".file.tmp3")) << "half";
    removeLeftovers(files, path("file"));
    EXPECT_EQ(names(), (std::vector<std::string>{".file.tmp", ".file.tmp2", "file", "victim"}));
}

TEST_F(FileSystemTest, ALinkToTheUsersOwnFileIsFollowedAndKept) {
    const auto disk = path("disk");
    ASSERT_FALSE(files.makeFolder(disk));
    ASSERT_EQ(::symlink("disk/file", path("second").c_str()), 0);
    ASSERT_EQ(::symlink(path("second").c_str(), path("first").c_str()), 0);
    Bytes content;
    EXPECT_TRUE(files.read(path("first"), plenty, content) == std::errc::no_such_file_or_directory);
    for (const char* text : {"made", "replaced"}) {
        EXPECT_FALSE(writeAtomically(files, path("first"), viewOf(text)));
        EXPECT_EQ(contentOf(path("first")), text);
    }
    std::ofstream(disk + "/.file.tmp") << "torn";
    removeLeftovers(files, path("first"));
    EXPECT_FALSE(files.exists(disk + "/.file.tmp"));
    const auto aside = moveAside(files, path("first"), "now");
    EXPECT_EQ(aside, disk + "/file.unreadable-now");
    EXPECT_EQ(contentOf(*aside), "replaced");
    EXPECT_TRUE(std::filesystem::is_symlink(path("first")) && std::filesystem::is_symlink(path("second")));
}

TEST_F(FileSystemTest, WhatBelongsToAnotherUserIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "only the superuser can give a file away";
    for (const char* name : {"theirs", "file"}) std::ofstream(path(name)) << name;
    const auto other = path("other");
    ASSERT_FALSE(files.makeFolder(other));
    std::ofstream(other + "/file") << "in their folder";
    ASSERT_EQ(::chown(path("theirs").c_str(), nobody, nobody), 0);
    ASSERT_EQ(::chown(other.c_str(), nobody, nobody), 0);
    const std::map<const char*, std::string> links{{"a file", path("theirs")},
                                                   {"a folder", other},
                                                   {"its file", other + "/file"},
                                                   {"itself", path("itself")}};
    for (const auto& [name, target] : links) ASSERT_EQ(::symlink(target.c_str(), path(name).c_str()), 0);
    const struct {
        std::string path;
        std::error_condition error;
    } cases[]{
        {path("a file"), std::errc::permission_denied},
        {path("its file"), std::errc::permission_denied},
        {path("a folder/file"), std::errc::permission_denied},
        {path("other/file"), std::errc::permission_denied},
        {path("other/new"), std::errc::permission_denied},
        {path("a folder"), std::errc::is_a_directory},
        {path("itself"), std::errc::too_many_symbolic_link_levels},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.path);
        Bytes content;
        EXPECT_TRUE(files.read(one.path, plenty, content) == one.error);
        EXPECT_TRUE(writeAtomically(files, one.path, viewOf("mine")) == one.error);
    }
    EXPECT_TRUE(files.makeFolder(path("a folder")) == std::errc::permission_denied);
    EXPECT_EQ(contentOf(path("theirs")), "theirs");
    // The link itself makes room, and what it led to stays.
    EXPECT_EQ(moveAside(files, path("a file"), "now"), path("a file.unreadable-now"));
    EXPECT_FALSE(writeAtomically(files, path("a file"), viewOf("mine")));
    EXPECT_EQ(contentOf(path("a file")), "mine");
    EXPECT_EQ(contentOf(path("theirs")), "theirs");
}

TEST_F(FileSystemTest, ALinkThatLeadsNowhereIsThere) {
    ASSERT_EQ(::symlink("nowhere", path("dangling").c_str()), 0);
    EXPECT_TRUE(files.exists(path("dangling")));
}

TEST_F(FileSystemTest, AFullDiskKeepsTheOldFile) {
    std::ofstream(path("file")) << "old";
    const auto write = [this] { return writeAtomically(files, path("file"), Bytes(1 << 20)); };
    const bool isMounted = ::mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=64k") == 0 &&
                           static_cast<bool>(std::ofstream(path("file")) << "old");
    if (isMounted) {
        EXPECT_TRUE(write() == std::errc::no_space_on_device);
    } else {
        // Where the test may not mount, a limit on the file size fails the same call.
        rlimit before{};
        ::getrlimit(RLIMIT_FSIZE, &before);
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{64 * 1024, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
        EXPECT_TRUE(write() == std::errc::file_too_large);
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
    EXPECT_EQ(contentOf(path("file")), "old");
    EXPECT_EQ(names(), std::vector<std::string>{"file"});
    if (isMounted) ::umount(folder.path().c_str());
}

TEST_F(FileSystemTest, AReadOnlyFolderKeepsTheOldFile) {
    std::ofstream(path("file")) << "old";
    ::chmod(folder.path().c_str(), 0555);
    // The rules for folders don't hold for the superuser.
    const bool isSuperuser = ::geteuid() == 0;
    const uid_t before = ::geteuid();
    ASSERT_EQ(::seteuid(isSuperuser ? nobody : before), 0);
    EXPECT_TRUE(writeAtomically(files, path("file"), viewOf("new")) == std::errc::permission_denied);
    EXPECT_TRUE(files.makeFolder(path("below")) == std::errc::permission_denied);
    ASSERT_EQ(::seteuid(before), 0);
    EXPECT_EQ(contentOf(path("file")), "old");
    EXPECT_EQ(names(), std::vector<std::string>{"file"});
}

TEST_F(FileSystemTest, OneProcessHoldsTheDataFolder) {
    const auto data = path("data/Vellumix");
    InstanceLock first, second;
    EXPECT_EQ(first.take(files, data), InstanceLock::Outcome::taken);
    EXPECT_EQ(modeOf(data + "/lock"), 0600u);
    EXPECT_EQ(second.take(files, data), InstanceLock::Outcome::heldByOther);
    first.release();
    EXPECT_EQ(second.take(files, data), InstanceLock::Outcome::taken);
    std::ofstream(path("file"));
    EXPECT_EQ(first.take(files, path("file")), InstanceLock::Outcome::failed);
}

TEST(LocaleTest, TheLanguagesAreThoseThatTheEnvironmentAsksFor) {
    const std::vector<std::pair<std::map<std::string, std::string>, std::vector<std::string>>> rows{
        {{}, {}},
        {{{"LANG", "pt_BR.UTF-8"}}, {"pt_BR.UTF-8"}},
        {{{"LANG", "pt_BR.UTF-8"}, {"LC_MESSAGES", "es_ES"}}, {"es_ES"}},
        {{{"LC_MESSAGES", "es_ES"}, {"LC_ALL", "C"}}, {}},
        {{{"LC_MESSAGES", "es_ES"}, {"LC_ALL", ""}}, {"es_ES"}},
        {{{"LANG", "de_DE"}, {"LANGUAGE", ":es::en"}}, {"es", "en", "de_DE"}},
        // A person who asked for no translation gets none, whatever else is set.
        {{{"LANG", "POSIX"}, {"LANGUAGE", "es"}}, {}},
    };
    for (const auto& [environment, expected] : rows) {
        const auto languages = preferredLanguages([&environment = environment](const char* name) {
            const auto found = environment.find(name);
            return found == environment.end() ? nullptr : found->second.c_str();
        });
        EXPECT_EQ(languages, expected);
    }
}

TEST(PathsTest, FollowTheBaseDirectories) {
    struct Case {
        std::map<std::string, const char*> variables;
        std::string data, config, temporary;
    };
    const Case cases[]{
        {{{"HOME", "/home/ana"}}, "/home/ana/.local/share", "/home/ana/.config", "/tmp"},
        {{{"HOME", "/home/ana/"}, {"XDG_DATA_HOME", ""}, {"XDG_CONFIG_HOME", "relative"}, {"TMPDIR", "."}},
         "/home/ana/.local/share",
         "/home/ana/.config",
         "/tmp"},
        {{{"HOME", "/home/ana"}, {"XDG_DATA_HOME", "/d//"}, {"XDG_CONFIG_HOME", "/c"}, {"TMPDIR", "/t/"}},
         "/d",
         "/c",
         "/t"},
        {{{"HOME", "/"}}, "/.local/share", "/.config", "/tmp"},
    };
    for (const auto& one : cases) {
        const auto paths = Paths::ofUser([&](const char* name) {
            const auto found = one.variables.find(name);
            return found == one.variables.end() ? nullptr : found->second;
        });
        EXPECT_EQ(paths.dataHome, one.data);
        EXPECT_EQ(paths.configHome, one.config);
        EXPECT_EQ(paths.temporaryFolder, one.temporary);
    }
    const auto ofAccount = Paths::ofUser([](const char*) -> const char* { return nullptr; });
    ASSERT_TRUE(ofAccount.dataHome);
    EXPECT_TRUE(ofAccount.dataHome->ends_with("/.local/share"));
}

TEST(SystemLogTest, WritesOneLineAMessageWhateverIsInIt) {
    SystemLog log(SystemLog::StandardError::always);
    testing::internal::CaptureStderr();
    log.write(LogSink::Level::error, "Store",
              "two\nlines, \x1b[31mred\x7f, \xC2\x9B"
              "31m, n\u00e3o \u7b14");
    log.write(LogSink::Level::info, "Defaults", "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vellumix: [Store] two\\x0alines, \\x1b[31mred\\x7f, \\x9b31m, n\u00e3o \u7b14\n"
              "vellumix: [Defaults] \n");
}

}  // namespace
}  // namespace vellumix::linux_desktop
