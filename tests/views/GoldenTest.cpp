#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "gallery/Gallery.h"
#include "gallery/GallerySamples.h"
#include "platform/view/paint/PangoTextSetter.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

using namespace view;

/// A picture is compared in squares of so many pixels, so that a change of one small thing isn't lost in the
/// rest.
constexpr int squareSide = 24;
/// What another version of the drawing libraries may change: so many pixels of a square by more than so much.
constexpr int toleratedPixels = 6;
constexpr int toleratedStep = 24;

struct Golden {
    const char* sheet;
    ThemeMode theme;
    AppLanguage language;
};

std::string nameOf(const Golden& golden) {
    return std::string(golden.sheet) + "-" + std::string(rawValue(golden.language)) + "-" +
           std::string(rawValue(golden.theme));
}

/// For the names of the cases.
void PrintTo(const Golden& golden, std::ostream* out) { *out << nameOf(golden); }

/// The corners of the squares that look otherwise; the whole picture's where its size differs.
std::vector<std::pair<int, int>> differences(const CairoSurface& actual, const std::string& path) {
    const handles::Surface wanted(cairo_image_surface_create_from_png(path.c_str()));
    const int width = cairo_image_surface_get_width(wanted.get());
    const int height = cairo_image_surface_get_height(wanted.get());
    if (width == 0 || width != actual.width() || height != actual.height()) return {{0, 0}};
    // A picture without transparency is read without it, and one byte in four of it means nothing.
    const auto* pixels = cairo_image_surface_get_data(wanted.get());
    const int stride = cairo_image_surface_get_stride(wanted.get());
    std::map<std::pair<int, int>, int> differing;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint32_t pixel = 0;
            std::copy_n(pixels + y * stride + 4 * x, sizeof pixel, reinterpret_cast<unsigned char*>(&pixel));
            const auto other = actual.pixelAt(x, y);
            int step = 0;
            for (const unsigned shift : {0U, 8U, 16U}) {
                const auto channel = [shift](std::uint32_t of) {
                    return static_cast<int>(of >> shift & 255U);
                };
                step = std::max(step, std::abs(channel(pixel) - channel(other)));
            }
            if (step > toleratedStep) ++differing[{x / squareSide, y / squareSide}];
        }
    }
    std::vector<std::pair<int, int>> found;
    for (const auto& [square, count] : differing) {
        if (count > toleratedPixels)
            found.emplace_back(square.first * squareSide, square.second * squareSide);
    }
    return found;
}

/// The sheets look as they did when somebody last looked at them. After a wanted change: look at the pictures
/// that this wrote beside its program, then run it with VELLUMIX_RENEW_GOLDEN=1 and commit what it writes.
class GoldenTest : public testing::TestWithParam<Golden> {};

TEST_P(GoldenTest, LooksAsItDid) {
    headless::Desktop desktop;
    SampleImageDecoder images;
    SampleFileIcons icons;
    auto platform = desktop.platform();
    platform.imageDecoder = &images;
    platform.fileIcons = &icons;
    const platform::Scope scope(std::move(platform));
    ThemeManager::shared().currentTheme.set(GetParam().theme);
    LanguageManager::shared().currentLanguage.set(GetParam().language);
    const auto sheets = gallerySheets();
    const auto sheet = std::ranges::find(sheets, std::string(GetParam().sheet), &GallerySheet::name);
    ASSERT_NE(sheet, sheets.end());
    PangoTextSetter texts;
    const auto picture = paint(*sheet, texts, 1);

    const auto file = nameOf(GetParam()) + ".png";
    const auto golden = std::string(VELLUMIX_GOLDEN) + "/" + file;
    if (std::getenv("VELLUMIX_RENEW_GOLDEN")) {
        ASSERT_TRUE(writePNG(picture.surface, golden));
    }
    const auto changed = differences(picture.surface, golden);
    EXPECT_TRUE(changed.empty()) << testing::PrintToString(changed) << ", see "
                                 << std::filesystem::current_path() / ("actual-" + file);
    if (!changed.empty()) writePNG(picture.surface, "actual-" + file);
}

INSTANTIATE_TEST_SUITE_P(Sheets, GoldenTest,
                         testing::Values(Golden{"components", ThemeMode::light, AppLanguage::en},
                                         Golden{"components", ThemeMode::dark, AppLanguage::es},
                                         Golden{"cards", ThemeMode::dark, AppLanguage::en},
                                         Golden{"card-states", ThemeMode::light, AppLanguage::en},
                                         Golden{"bars", ThemeMode::light, AppLanguage::es},
                                         Golden{"bars", ThemeMode::dark, AppLanguage::en},
                                         Golden{"pages", ThemeMode::light, AppLanguage::en},
                                         Golden{"pop-ups", ThemeMode::dark, AppLanguage::en},
                                         Golden{"panel-520x620", ThemeMode::dark, AppLanguage::en},
                                         Golden{"panel-320x500", ThemeMode::light, AppLanguage::ptBR}),
                         [](const auto& each) {
                             auto name = nameOf(each.param);
                             std::erase(name, '-');
                             return name;
                         });

}  // namespace
}  // namespace vellumix
