#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include "core/history/Store.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

/// Passes operations on, and does something else at the n-th one that changes the disk, counted from 1.
class InterruptedFileSystem final : public FileSystem {
public:
    InterruptedFileSystem(FileSystem& files, int at, std::function<bool()> passesOn)
        : files(files), at(at), passesOn(std::move(passesOn)) {}

    std::error_code locate(const std::string& path, std::string& place) override {
        return files.locate(path, place);
    }
    std::error_code read(const std::string& path, std::size_t limit, Bytes& content) override {
        return files.read(path, limit, content);
    }
    std::error_code openForWriting(const std::string& path, Handle& handle) override {
        return step([&] { return files.openForWriting(path, handle); });
    }
    std::error_code openNew(const std::string& path, Handle& handle) override {
        return step([&] { return files.openNew(path, handle); });
    }
    std::error_code write(Handle handle, ByteView bytes) override {
        // A write that is cut has written half.
        if (count_ + 1 == at) files.write(handle, bytes.first(bytes.size() / 2));
        return step([&] { return files.write(handle, bytes); });
    }
    std::error_code sync(Handle handle) override {
        return step([&] { return files.sync(handle); });
    }
    std::error_code close(Handle handle) override {
        return step([&] { return files.close(handle); });
    }
    std::error_code rename(const std::string& from, const std::string& to) override {
        return step([&] { return files.rename(from, to); });
    }
    std::error_code syncFolder(const std::string& path) override {
        return step([&] { return files.syncFolder(path); });
    }
    std::error_code remove(const std::string& path) override {
        return step([&] { return files.remove(path); });
    }
    std::error_code makeFolder(const std::string& path) override {
        return step([&] { return files.makeFolder(path); });
    }
    std::error_code makePrivate(const std::string& path, bool& wasOpen) override {
        return step([&] { return files.makePrivate(path, wasOpen); });
    }
    bool exists(const std::string& path) override { return files.exists(path); }

    int count() const { return count_; }

private:
    std::error_code step(const std::function<std::error_code()>& operation) {
        if (++count_ >= at && !passesOn()) return std::make_error_code(std::errc::no_space_on_device);
        return operation();
    }

    FileSystem& files;
    const int at;
    const std::function<bool()> passesOn;
    int count_ = 0;
};

constexpr int never = 1 << 30;

/// A headless desktop over other files.
Platform over(headless::Desktop& desktop, FileSystem& files, const std::string& folder) {
    auto platform = desktop.platform();
    platform.files = &files;
    platform.applicationSupportDirectories = {folder};
    platform.temporaryDirectory = folder;
    platform.defaultsPath = folder + "/settings.plist";
    return platform;
}

constexpr const char* folder = "/data";

/// Saves "new" over "old" on files that are interrupted at the n-th step; returns how many steps there were.
int saveInterrupted(headless::Desktop& desktop, int at, const std::function<bool()>& passesOn) {
    {
        const platform::Scope scope(over(desktop, desktop.files, folder));
        Store store;
        store.replaceAll({});
        store.add(textItem("old"));
        store.saveNow();
    }
    InterruptedFileSystem files(desktop.files, at, passesOn);
    const platform::Scope scope(over(desktop, files, folder));
    Store store;
    store.add(textItem("new"));
    store.saveNow();
    return files.count();
}

std::vector<std::string> reopened(headless::Desktop& desktop) {
    const platform::Scope scope(over(desktop, desktop.files, folder));
    return textsOf(Store().items().get());
}

TEST(Durability, AFailureOrAPowerCutAtAnyStepKeepsTheOldOrTheNewHistory) {
    headless::Desktop whole;
    const int steps = saveInterrupted(whole, never, [] { return true; });
    ASSERT_GE(steps, 6);
    const std::vector<std::string> old{"old"};
    const std::vector<std::string> both{"new", "old"};
    EXPECT_EQ(reopened(whole), both);
    for (const bool isPowerCut : {false, true}) {
        for (int at = 1; at <= steps; ++at) {
            SCOPED_TRACE(at);
            headless::Desktop desktop;
            // A failure hits one operation, a power cut all from there on.
            bool hasFailed = false;
            saveInterrupted(desktop, at, [&] { return !isPowerCut && std::exchange(hasFailed, true); });
            const auto texts = reopened(desktop);
            EXPECT_TRUE(texts == old || texts == both);
            for (const auto& [path, content] : desktop.files.files)
                EXPECT_EQ(path.find(".tmp"), std::string::npos) << path;
        }
    }
}

TEST(Durability, AnUnreadableHistoryThatCannotBeMovedIsNotReplaced) {
    headless::Desktop desktop;
    desktop.files.makeFolder("/data/Vellumix");
    desktop.files.files["/data/Vellumix/history.json"] = Bytes{'x'};
    InterruptedFileSystem files(desktop.files, 1, [] { return false; });
    const platform::Scope scope(over(desktop, files, folder));
    Store store;
    store.add(textItem("new"));
    store.saveNow();
    store.saveNow();
    EXPECT_EQ(desktop.files.files["/data/Vellumix/history.json"], Bytes{'x'});
    EXPECT_TRUE(desktop.log.lines.back().starts_with(
        "Store: The history can't be saved: the unreadable one in its place can't be moved aside"));
}

class KilledSave : public testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/vellumix-durability-XXXXXX";
        path = ::mkdtemp(name);
    }
    void TearDown() override { std::filesystem::remove_all(path); }

    /// Runs the work in a child process; returns whether it was killed.
    static bool isKilled(const std::function<void()>& work) {
        const auto child = ::fork();
        if (child == 0) {
            ::umask(0);
            work();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFSIGNALED(status);
    }
    void save(const std::string& text, int killedAt) {
        linux_desktop::PosixFileSystem posix;
        InterruptedFileSystem files(posix, killedAt, [] { return ::raise(SIGKILL) != 0; });
        const platform::Scope scope(over(desktop, files, path));
        Store store;
        store.add(textItem(text));
        store.saveNow();
    }

    // The key must be the same in every child, so it is made before the first.
    headless::Desktop desktop;
    std::string path;
};

TEST_F(KilledSave, LeavesTheOldOrTheNewHistoryOnTheRealDisk) {
    save("old", never);
    int killed = 0;
    for (int at = 1;; ++at) {
        SCOPED_TRACE(at);
        const bool wasKilled = isKilled([&] { save("new " + std::to_string(at), at); });
        linux_desktop::PosixFileSystem posix;
        const platform::Scope scope(over(desktop, posix, path));
        const auto texts = textsOf(Store().items().get());
        ASSERT_FALSE(texts.empty());
        EXPECT_EQ(texts.back(), "old");
        struct stat file {};
        ASSERT_EQ(::stat((path + "/Vellumix/history.json").c_str(), &file), 0);
        EXPECT_EQ(file.st_mode & 0777, 0600U);
        ASSERT_EQ(::stat((path + "/Vellumix").c_str(), &file), 0);
        EXPECT_EQ(file.st_mode & 0777, 0700U);
        for (const auto& entry : std::filesystem::directory_iterator(path + "/Vellumix")) {
            EXPECT_EQ(entry.path().filename(), "history.json");
        }
        if (!wasKilled) {
            EXPECT_EQ(texts.front(), "new " + std::to_string(at));
            break;
        }
        ++killed;
    }
    EXPECT_GE(killed, 6);
}

}  // namespace
}  // namespace vellumix
