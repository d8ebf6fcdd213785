#include "platform/linux/applications/DesktopSharing.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/headless/Pasteboard.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

using Service = SharingServices::Service;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DesktopSharingTest : public testing::Test {
protected:
    DesktopSharingTest() {
        std::string pattern = std::filesystem::temp_directory_path() / "sharing-XXXXXX";
        folder = ::mkdtemp(pattern.data());
    }
    ~DesktopSharingTest() override { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
    PosixFileSystem files;
    headless::Pasteboard pasteboard{NSPasteboard::Capabilities{}};
};

TEST_F(DesktopSharingTest, CopiesNeverReplaceAFileAndAreTheUsersAlone) {
    std::ofstream(folder / "report.txt") << "first";
    const auto file = URL::file((folder / "report.txt").string());
    for (int time = 0; time < 2; ++time) {
        // Its end waits for what is being written.
        GLibRunLoop runLoop;
        DesktopSharing sharing(runLoop, files, pasteboard, folder.string());
        bool isDone = false;
        sharing.perform(Service::saveCopy, {file, String("one"), String("two")});
        runLoop.background([&] { runLoop.post([&] { isDone = true; }); });
        runLoop.runUntil([&] { return isDone; });
    }
    EXPECT_EQ(contentOf(folder / "report.txt"), "first");
    EXPECT_EQ(contentOf(folder / "report 2.txt"), "first");
    EXPECT_EQ(contentOf(folder / "report 3.txt"), "first");
    int texts = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().filename() == "report.txt") continue;
        struct stat facts {};
        ASSERT_EQ(::stat(entry.path().c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777, 0600U) << entry.path();
        if (!entry.path().filename().string().starts_with("Clipboard ")) continue;
        EXPECT_TRUE(contentOf(entry.path()) == "one" || contentOf(entry.path()) == "two");
        ++texts;
    }
    EXPECT_EQ(texts, 4);
}

TEST_F(DesktopSharingTest, EachKindHasItsServices) {
    GLibRunLoop runLoop;
    DesktopSharing sharing(runLoop, files, pasteboard, folder.string());
    const SharedItem file = URL::file("/tmp/a b"), link = *URL::parse("https://example.org/"),
                     text = String("text"), image = Data("png");
    using Services = std::vector<Service>;
    EXPECT_EQ(sharing.servicesFor({}), Services());
    EXPECT_EQ(sharing.servicesFor({text}), (Services{Service::sendByMail, Service::saveCopy}));
    EXPECT_EQ(sharing.servicesFor({link}), (Services{Service::open, Service::sendByMail}));
    EXPECT_EQ(sharing.servicesFor({text, link}), (Services{Service::sendByMail}));
    EXPECT_EQ(sharing.servicesFor({image}), (Services{Service::saveCopy}));
    EXPECT_EQ(sharing.servicesFor({file}).size(), 4U);
    sharing.perform(Service::copyPath, {file});
    EXPECT_EQ(pasteboard.stringForType(NSPasteboardTypeString), String("/tmp/a b"));

    EXPECT_EQ(mailAddress("a&b\r\n\xC3\xA9"), "mailto:?body=a%26b%0D%0A%C3%A9");
    std::string longText;
    while (longText.size() <= mailBodyLimit) longText += "\xE2\x82\xAC";
    const auto address = mailAddress(longText);
    EXPECT_LT(address.size(), 128U * 1024);
    EXPECT_TRUE(address.ends_with("%E2%82%AC")) << "no part of a character";
}

}  // namespace
}  // namespace vellumix::linux_desktop
