#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "linux/TestProcess.h"
#include "platform/linux/images/IconThemeFileIcons.h"
#include "platform/linux/images/PixbufHandles.h"
#include "platform/linux/loop/GLibRunLoop.h"

namespace vellumix::linux_desktop {
namespace {

constexpr std::uint32_t red = 0xFFFF0000, green = 0xFF00FF00, blue = 0xFF0000FF, white = 0xFFFFFFFF;

class FileIconTest : public testing::Test {
protected:
    void write(const std::string& name, const std::string& text) {
        const auto path = folder() + '/' + name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path) << text;
    }
    void draw(const std::string& name, std::uint32_t colour, int width, int height) {
        write(name, "");
        const glib::Object<GdkPixbuf> picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height));
        gdk_pixbuf_fill(picture.get(), colour << 8 | 0xFF);
        ASSERT_TRUE(gdk_pixbuf_save(picture.get(), (folder() + '/' + name).c_str(), "png", nullptr, nullptr));
    }
    std::string folder() const { return folder_.path(); }

    /// In the middle of the icon; nothing at all without one.
    std::uint32_t colourOf(const std::string& path, int pixels = 56) {
        const auto icon = icons.iconForFile(URL::file(path), pixels);
        if (!icon) return 0;
        EXPECT_EQ(icon->width, pixels);
        EXPECT_EQ(icon->height, pixels);
        return pixelAt(*icon, pixels / 2, pixels / 2);
    }
    static std::uint32_t pixelAt(const Bitmap& bitmap, int x, int y) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, bitmap.pixels.data() + 4 * (y * bitmap.width + x), sizeof pixel);
        return pixel;
    }

private:
    TemporaryFolder folder_;

protected:
    std::optional<std::string> theme;
    GLibRunLoop runLoop;
    IconThemeFileIcons icons{
        runLoop, {.themeName = [this] { return theme; }, .folders = {folder() + "/own", folder() + "/all"}}};
};

TEST_F(FileIconTest, TheThemeShowsItsNearestSizeBeforeItsParentsFittingOne) {
    EXPECT_EQ(colourOf("/nowhere/letter.txt"), 0U) << "there is no theme yet";

    write("all/Made/index.theme",
          "[Icon "
          "Theme]\nName=Made\nInherits=Parent,Made\nDirectories=small,big,drawn\nScaledDirectories=dense\n"
          "[small]\nSize=16\nType=Fixed\n[big]\nSize=60\n[drawn]\nSize=56\nType=Fixed\n"
          "[dense]\nSize=28\nScale=2\nType=Fixed\n");
    draw("all/Made/small/text-x-generic.png", red, 16, 16);
    // The user's own folder has more of the same theme, by a link as themes have many.
    draw("own/Made/big/one.png", green, 64, 32);
    std::filesystem::create_symlink("one.png", folder() + "/own/Made/big/text-x-generic.png");
    // A drawing that can't be drawn doesn't hide the pictures.
    write("all/Made/drawn/text-x-generic.svg", "<svg");
    draw("all/Made/dense/audio-x-generic.png", white, 56, 56);
    draw("all/Made/small/audio-x-generic.png", red, 16, 16);
    write("all/Parent/index.theme", "[Icon Theme]\nInherits=Made\nDirectories=56\n[56]\nSize=56\n[wrong\n");
    write("all/hicolor/index.theme", "[Icon Theme]\nDirectories=56\n[56]\nSize=56\n");
    for (const auto* type : {"text-plain", "application-pdf"})
        draw(std::string("all/Parent/56/") + type + ".png", blue, 56, 56);
    draw("all/hicolor/56/application-pdf.png", red, 56, 56);

    theme = "Made";
    EXPECT_EQ(colourOf("/nowhere/letter.txt"), green);
    EXPECT_EQ(colourOf("/nowhere/letter.txt", 20), red);
    EXPECT_EQ(colourOf("/nowhere/song.ogg"), white);
    EXPECT_EQ(colourOf("/nowhere/book.PDF"), blue);
    EXPECT_EQ(colourOf("/nowhere/film.mkv"), 0U);
    // The picture is twice as wide as it is high.
    const auto wide = icons.iconForFile(URL::file("/nowhere/letter.txt"), 56);
    EXPECT_EQ(pixelAt(*wide, 28, 10), 0U);
    EXPECT_EQ(pixelAt(*wide, 1, 28), green);

    theme = "../Made";
    EXPECT_EQ(colourOf("/nowhere/book.pdf"), red) << "what every theme falls back on";
}

TEST_F(FileIconTest, AThemeThatSaysTooMuchIsNone) {
    const std::string description = "[Icon Theme]\nDirectories=56,wide\n[56]\nSize=56\n";
    write("all/Long/index.theme", description + std::string(1 << 20, '#'));
    draw("all/Long/56/text-plain.png", red, 56, 56);
    write("all/Wide/index.theme", description + "[wide]\nSize=2000000000\n");
    draw("all/Wide/wide/text-plain.png", red, 56, 56);
    write("all/hicolor/index.theme", description);
    draw("all/hicolor/56/text-plain.png", green, 56, 56);
    for (const auto* name : {"Long", "Wide"}) {
        theme = name;
        EXPECT_EQ(colourOf("/nowhere/letter.txt"), green) << name;
    }
}

TEST_F(FileIconTest, AFolderIsToldFromAFileAndNobodyWaitsForTheDisk) {
    write("all/Adwaita/index.theme", "[Icon Theme]\nDirectories=48\n[48]\nSize=48\n");
    draw("all/Adwaita/48/folder.png", green, 48, 48);
    draw("all/Adwaita/48/text-x-generic.png", red, 48, 48);
    theme = "Missing";
    const auto path = folder() + "/notes.txt";
    write("notes.txt/inside", "");
    EXPECT_EQ(colourOf(path), red) << "nothing but the name is known at once";
    bool isLate = false;
    runLoop.postAfter(10, [&] { isLate = true; });
    runLoop.runUntil([&] { return isLate || colourOf(path) == green; });
    EXPECT_FALSE(isLate);
}

}  // namespace
}  // namespace vellumix::linux_desktop
