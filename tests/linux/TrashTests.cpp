#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "linux/TestProcess.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/linux/trash/SharedTrash.h"
#include "platform/linux/trash/TrashInfo.h"

namespace vellumix::linux_desktop {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& content) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string infoOf(const std::string& path, const std::string& date) {
    return "[Trash Info]\nPath=" + path + "\nDeletionDate=" + date + "\n";
}

/// A home with a trash, and the mount of a stick with none yet.
class TrashTest : public testing::Test {
protected:
    void trash(const std::string& can, const std::string& name, const std::string& path,
               const std::string& date = "2026-11-22T10:00:00") {
        write(can + "/files/" + name, name);
        write(can + "/info/" + name + ".trashinfo", infoOf(path, date));
    }
    /// The name, in the trash, of what was found.
    std::string find(const std::string& path) const {
        const auto found = TrashCans(options()).find(path);
        return found ? fs::path(*found).filename().string() : "-";
    }
    TrashCans::Options options() const {
        return {.dataHome = data,
                .topFolderOf =
                    [this](const std::string& folder) { return folder.starts_with(stick) ? stick : root; },
                .mostEntries = mostEntries};
    }

    TemporaryFolder folder;
    const std::string root = folder.path(), data = root + "/data", home = data + "/Trash",
                      stick = root + "/stick", user = std::to_string(::geteuid()),
                      onStick = stick + "/.Trash-" + user;
    std::size_t mostEntries = 1000;
};

TEST_F(TrashTest, AnInfoIsReadAsTheSpecificationHasIt) {
    const std::string path = "Path=/a\n", date = "DeletionDate=2026-01-02T03:04:05\n",
                      group = "[Trash Info]\n";
    const struct {
        std::string text, path, date;
    } cases[] = {
        {group + path + date, "/a", "2026-01-02T03:04:05"},
        {group + date + "Other=1\n" + path + "Path=/b\n" + "DeletionDate=2027-01-01T00:00:00", "/a",
         "2026-01-02T03:04:05"},
        {group + "Path=%2Fna%C3%AFve%20a%0Ab", "/na\xC3\xAFve a\nb", ""},
        {group + "Path=%FFraw\xFE/b..", "\xFFraw\xFE/b..", ""},
        {group + path + "DeletionDate=yesterday-and-so-on", "/a", ""},
        {path + group + date, "-", ""},
        {"", "-", ""},
        {group + date, "-", ""},
        {group + "Path=", "-", ""},
        {group + "Path=/a%2", "-", ""},
        {group + "Path=/a%00b", "-", ""},
        {group + "Path=/home/../etc/shadow", "-", ""},
        {group + "Path=%2e%2e/x", "-", ""},
    };
    for (const auto& each : cases) {
        const auto info = TrashInfo::parse(each.text);
        EXPECT_EQ(info ? info->path : "-", each.path) << each.text;
        EXPECT_EQ(info ? info->deletionDate : "", each.date) << each.text;
    }
}

TEST_F(TrashTest, WhatWasLastDeletedFromAPlaceIsFoundInTheTrashOfItsMount) {
    trash(home, "letter.txt", root + "/letter.txt", "2026-11-22T10:00:00");
    trash(home, "letter.2.txt", root + "/letter.txt", "2026-11-22T10:00:01");
    trash(home, "letter.3.txt", root + "/letter.txt", "no date at all here");
    trash(home, "another name", root + "/plan.txt", "2026-11-22T10:00:01");
    trash(home, "plan.txt", root + "/plan.txt", "2026-11-22T10:00:00");
    trash(home, "lines", root + "/two%0Alines%25%C3%A9");
    trash(home, "relative", "under%20data.txt");
    trash(home, "gone", root + "/gone");
    fs::remove(home + "/files/gone");
    trash(onStick, "song.ogg", "music/song.ogg");
    trash(onStick, "absolute.ogg", stick + "/absolute.ogg");
    trash(stick + "/.Trash/" + user, "shared.ogg", "shared.ogg");
    fs::permissions(stick + "/.Trash", fs::perms::all | fs::perms::sticky_bit);
    fs::create_directory_symlink(stick, root + "/link");
    const auto check = [&](const std::string& path, const std::string& name) {
        EXPECT_EQ(find(path), name) << path;
    };
    check(root + "/letter.txt", "letter.2.txt");
    check(root + "/plan.txt", "another name");
    check(root + "/two\nlines%\xC3\xA9", "lines");
    check(data + "/under data.txt", "relative");
    check(root + "/gone", "-");
    check(root + "/never.txt", "-");
    check(stick + "/music/song.ogg", "song.ogg");
    check(root + "/link/music/song.ogg", "song.ogg");
    check(stick + "/absolute.ogg", "-");
    check(stick + "/shared.ogg", "shared.ogg");
    // Without its bit, anybody could have put anything in place of the user's part of it.
    fs::permissions(stick + "/.Trash", fs::perms::all);
    check(stick + "/shared.ogg", "-");
    fs::permissions(stick + "/.Trash", fs::perms::all | fs::perms::sticky_bit);
    fs::rename(stick + "/.Trash", stick + "/elsewhere");
    fs::create_directory_symlink(stick + "/elsewhere", stick + "/.Trash");
    check(stick + "/shared.ogg", "-");
}

TEST_F(TrashTest, LiesAreRefusedAndAnOlderTruthIsFoundBehindThem) {
    const auto secret = root + "/secret", place = root + "/a.txt";
    write(secret, "secret");
    const struct {
        const char* name;
        std::function<void(const std::string& file, const std::string& info)> lie;
    } cases[] = {
        {"a link in place of the file",
         [&](const auto& file, const auto&) {
             fs::remove(file);
             fs::create_symlink(secret, file);
         }},
        {"a pipe",
         [&](const auto& file, const auto&) {
             fs::remove(file);
             ::mkfifo(file.c_str(), 0600);
         }},
        {"a link in place of the info",
         [&](const auto&, const auto& info) {
             fs::rename(info, root + "/info");
             fs::create_symlink(root + "/info", info);
         }},
        {"another path",
         [&](const auto&, const auto& info) { write(info, infoOf(root + "/b.txt", "2026-11-22T10:00:09")); }},
        {"a path that climbs",
         [&](const auto&, const auto& info) { write(info, infoOf("../a.txt", "2026-11-22T10:00:09")); }},
        {"too long",
         [&](const auto&, const auto& info) {
             std::ofstream(info, std::ios::app) << std::string(TrashInfo::limit, '\n');
         }},
        {"another's file",
         [&](const auto& file, const auto&) {
             // Only the superuser can give files away; for others it goes as one that isn't there.
             if (::chown(file.c_str(), 12345, 12345) != 0) fs::remove(file);
         }},
        {"another's info",
         [&](const auto&, const auto& info) {
             if (::chown(info.c_str(), 12345, 12345) != 0) fs::remove(info);
         }},
    };
    for (const auto& each : cases) {
        fs::remove_all(home);
        trash(home, "true", place, "2026-11-22T10:00:00");
        trash(home, "lie", place, "2026-11-22T10:00:09");
        EXPECT_EQ(find(place), "lie");
        each.lie(home + "/files/lie", home + "/info/lie.trashinfo");
        EXPECT_EQ(find(place), "true") << each.name;
    }
    fs::remove_all(home);
    EXPECT_EQ(find(place), "-") << "emptied";
    write(home, "not a folder");
    EXPECT_EQ(find(place), "-");
}

TEST_F(TrashTest, AHugeTrashCostsNoMoreThanItMayAndLikelyNamesComeFirst) {
    mostEntries = 50;
    for (int number = 0; number < 500; ++number) trash(home, std::to_string(number), "/x");
    trash(home, "named alike.txt", root + "/named alike.txt");
    trash(home, "z", root + "/named otherwise.txt");
    EXPECT_EQ(find(root + "/named alike.txt"), "named alike.txt");
    mostEntries = 10'000;
    EXPECT_EQ(find(root + "/named otherwise.txt"), "z");
}

TEST_F(TrashTest, WhatIsOfferedHasItsNameIsACopyAndIsGoneInTheEnd) {
    GLibRunLoop runLoop;
    PosixFileSystem files;
    const auto place = root + "/private";
    write(place + "/offered-of a killed process/1/letter", "left over");
    const auto offer = [&](SharedTrash& trash, const std::string& path) {
        std::optional<std::optional<Trash::Offer>> answer;
        trash.offer(URL::file(path), [&](const auto& offer) { answer = offer; });
        runLoop.runUntil([&] { return answer.has_value(); });
        return *answer;
    };
    const auto isRemoved = [&](const std::string& path) {
        const auto look = runLoop.repeatingTimer(0.005, [] {});
        const auto end = runLoop.uptime() + 20;
        runLoop.runUntil([&] { return !fs::exists(path) || runLoop.uptime() > end; });
        return !fs::exists(path);
    };
    trash(home, "letter.2.txt", root + "/letter.txt");
    trash(home, "music/a/song.ogg", root + "/x");
    write(home + "/info/music.trashinfo", infoOf(root + "/music", "2026-11-22T10:00:00"));
    fs::create_symlink("a/song.ogg", home + "/files/music/latest");
    fs::permissions(home + "/files/letter.2.txt", fs::perms::owner_all);
    {
        SharedTrash trash(runLoop, files, place, options());
        const auto letter = offer(trash, root + "/letter.txt");
        ASSERT_TRUE(letter);
        const auto copy = letter->file.path();
        EXPECT_EQ(letter->file.lastPathComponent(), "letter.txt");
        EXPECT_TRUE(letter->hasItsName);
        EXPECT_EQ(contentOf(copy), "letter.2.txt");
        EXPECT_EQ(fs::status(copy).permissions(), fs::perms::owner_all);
        for (auto above = fs::path(copy).parent_path(); above != fs::path(place); above = above.parent_path())
            EXPECT_EQ(fs::status(above).permissions(), fs::perms::owner_all) << above;
        EXPECT_EQ(fs::last_write_time(copy), fs::last_write_time(home + "/files/letter.2.txt"));
        std::ofstream(copy) << "written to";
        EXPECT_EQ(contentOf(home + "/files/letter.2.txt"), "letter.2.txt") << "nothing in the trash changes";

        const auto music = offer(trash, root + "/music");
        ASSERT_TRUE(music);
        EXPECT_EQ(contentOf(music->file.path() + "/a/song.ogg"), "music/a/song.ogg");
        EXPECT_EQ(fs::read_symlink(music->file.path() + "/latest"), "a/song.ogg");
        EXPECT_FALSE(offer(trash, root + "/never"));
        EXPECT_TRUE(isRemoved(place + "/offered-of a killed process"));

        trash.release();
        const auto again = offer(trash, root + "/letter.txt");
        EXPECT_TRUE(again && fs::exists(again->file.path()));
        EXPECT_TRUE(isRemoved(copy)) << "released";
    }
    EXPECT_TRUE(fs::is_empty(place)) << "nothing outlives the service";

    // Beyond what may be copied it is linked, and beyond what may be linked it comes from the trash itself.
    SharedTrash thrifty(runLoop, files, place, options(), {.bytes = 3});
    const auto linked = offer(thrifty, root + "/letter.txt");
    EXPECT_TRUE(linked && fs::hard_link_count(linked->file.path()) == 2);
    SharedTrash poor(runLoop, files, place, options(), {.entries = 0});
    const auto itself = offer(poor, root + "/letter.txt");
    ASSERT_TRUE(itself);
    EXPECT_FALSE(itself->hasItsName);
    EXPECT_EQ(itself->file.path(), home + "/files/letter.2.txt");
}

TEST_F(TrashTest, WhetherAFileIsInItsPlaceIsToldLaterAndNeverWaitedFor) {
    GLibRunLoop runLoop;
    PosixFileSystem files;
    SharedTrash trash(runLoop, files, root + "/private", options());
    write(root + "/there", "");
    fs::create_symlink("nowhere", root + "/dangling");
    const struct {
        std::string path;
        bool isThere;
    } cases[] = {{"/there", true}, {"/dangling", true}, {"/not", false}, {"/there/not", false}};
    for (const auto& each : cases) {
        std::optional<bool> answer;
        trash.isThere(URL::file(root + each.path), [&](bool isThere) { answer = isThere; });
        EXPECT_FALSE(answer);
        runLoop.runUntil([&] { return answer.has_value(); });
        EXPECT_EQ(answer, each.isThere) << each.path;
    }
    // Behind a disk that doesn't answer, the others are taken to be there.
    int answers = 0;
    constexpr int many = 3 * UnawaitedWork::limit;
    for (int count = 0; count < many; ++count)
        trash.isThere(URL::file(root + "/there"), [&](bool isThere) { answers += isThere; });
    runLoop.runUntil([&] { return answers == many; });
}

}  // namespace
}  // namespace vellumix::linux_desktop
