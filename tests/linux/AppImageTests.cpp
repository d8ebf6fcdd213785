#include "platform/linux/updates/AppImage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/linux/files/PosixFileSystem.h"

namespace vellumix::linux_desktop {
namespace {

class AppImageTest : public testing::Test {
protected:
    AppImageTest() {
        std::string pattern = std::filesystem::temp_directory_path() / "image-XXXXXX";
        folder = ::mkdtemp(pattern.data());
        std::filesystem::create_directory(folder / "mounted");
        std::ofstream(executable()) << "program";
        std::ofstream(image()) << old;
        std::filesystem::permissions(image(), std::filesystem::perms(0755));
    }
    ~AppImageTest() override { std::filesystem::remove_all(folder); }

    std::string image() const { return folder / "a.AppImage"; }
    std::string executable() const { return folder / "mounted/program"; }
    std::optional<AppImage> running(const std::string& file, const std::string& mounted,
                                    const std::string& program) {
        return AppImage::running(
            files,
            [&](const char* name) -> const char* {
                const auto& value = std::string_view(name) == "APPDIR" ? mounted : file;
                return value.empty() ? nullptr : value.c_str();
            },
            program);
    }
    auto entries() const { return std::distance(std::filesystem::directory_iterator(folder), {}); }
    std::string content() const {
        std::ifstream file(image());
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static inline const std::string old = std::string(
                                              "\x7F"
                                              "ELF\2\1\1\0AI\2",
                                              11) +
                                          "old";
    static inline const std::string newer = std::string(
                                                "\x7F"
                                                "ELF\2\1\1\0AI\2",
                                                11) +
                                            "new";
    std::filesystem::path folder;
    PosixFileSystem files;
};

TEST_F(AppImageTest, OnlyTheOneThatThisRunsFromCounts) {
    const std::string mounted = folder / "mounted";
    std::filesystem::create_symlink(image(), folder / "link.AppImage");
    std::ofstream(folder / "text.AppImage") << "A letter that begins otherwise";
    EXPECT_EQ(running(image(), mounted, executable())->path(), image());
    EXPECT_FALSE(running("", mounted, executable()));
    EXPECT_FALSE(running(image(), "", executable()));
    EXPECT_FALSE(running("a.AppImage", mounted, executable()));
    EXPECT_FALSE(running(image(), "/", executable())) << "every program is under it";
    EXPECT_FALSE(running(image(), mounted, "/proc/self/exe")) << "inherited from another program";
    EXPECT_FALSE(running(image(), folder / "mount", executable()));
    EXPECT_FALSE(running(folder / "link.AppImage", mounted, executable()));
    EXPECT_FALSE(running(folder / "text.AppImage", mounted, executable()));
    EXPECT_FALSE(running(mounted, mounted, executable()));
    EXPECT_FALSE(running(folder / "none.AppImage", mounted, executable()));
    if (::geteuid() != 0) GTEST_SKIP() << "files can't be given away";
    ASSERT_EQ(::chown(image().c_str(), 65534, 65534), 0);
    EXPECT_FALSE(running(image(), mounted, executable())) << "another user's";
}

TEST_F(AppImageTest, TheOldOneOrTheNewOneIsThereWhole) {
    const auto found = running(image(), folder / "mounted", executable());
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->replace(files, viewOf("#!/bin/sh")));
    EXPECT_EQ(content(), old);

    /// Fails at the n-th of its operations.
    class Failing final : public PosixFileSystem {
    public:
        explicit Failing(int left) : left(left) {}
        std::error_code openNew(const std::string& path, Handle& handle) override {
            return fails() ? error : PosixFileSystem::openNew(path, handle);
        }
        std::error_code write(Handle handle, ByteView bytes) override {
            return fails() ? error : PosixFileSystem::write(handle, bytes);
        }
        std::error_code sync(Handle handle) override {
            return fails() ? error : PosixFileSystem::sync(handle);
        }
        std::error_code rename(const std::string& from, const std::string& to) override {
            return fails() ? error : PosixFileSystem::rename(from, to);
        }

    private:
        bool fails() { return left-- == 0; }
        int left;
        const std::error_code error = std::make_error_code(std::errc::no_space_on_device);
    };
    for (int operation = 0; operation < 4; ++operation) {
        Failing failing(operation);
        EXPECT_FALSE(found->replace(failing, viewOf(newer)));
        EXPECT_EQ(content(), old);
        EXPECT_EQ(entries(), 2) << operation;
    }
    EXPECT_TRUE(found->replace(files, viewOf(newer)));
    EXPECT_EQ(content(), newer);
    struct stat facts {};
    ASSERT_EQ(::stat(image().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0755U);
    EXPECT_EQ(entries(), 2) << "nothing is left beside it";
}

}  // namespace
}  // namespace vellumix::linux_desktop
