#include "shell/settings/ThemeManager.h"

#include <algorithm>
#include <cmath>

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "shell/settings/AppearanceSettings.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class ThemeManagerTest : public HeadlessTest {};

TEST_F(ThemeManagerTest, OnlyTheExactWordIsDark) {
    const auto stored = [](const PropertyValue& value) {
        UserDefaults::standard().set("appThemeMode", value);
        return ThemeManager().currentTheme.get();
    };
    EXPECT_EQ(ThemeManager().currentTheme.get(), ThemeMode::light) << "nothing is stored";
    EXPECT_EQ(stored(std::string("dark")), ThemeMode::dark);
    EXPECT_EQ(stored(std::string("Dark")), ThemeMode::light);
    EXPECT_EQ(stored(true), ThemeMode::light);
}

TEST_F(ThemeManagerTest, AChangeIsStoredAtOnceAndAnnouncedLater) {
    int announced = 0;
    const auto observation = NotificationCenter::defaultCenter().observe(
        ThemeManager::didChangeNotification, [&](const NotificationCenter::UserInfo&) { ++announced; });
    auto& theme = ThemeManager::shared();
    desktop.runLoop.settle();
    EXPECT_EQ(announced, 0) << "the making is no change";
    const auto light = theme.primaryTextColor();

    for (int round = 1; round <= 2; ++round) {
        theme.currentTheme.set(ThemeMode::dark);
        EXPECT_EQ(UserDefaults::standard().value<std::string>("appThemeMode"), "dark");
        EXPECT_EQ(announced, round - 1);
        desktop.runLoop.settle();
        EXPECT_EQ(announced, round);
    }
    EXPECT_NE(theme.primaryTextColor(), light);
    EXPECT_EQ(&ThemeManager::shared(), &theme);
}

/// WCAG 2.2, "relative luminance" and "contrast ratio", of two greys.
double contrast(const view::Color& a, const view::Color& b) {
    const auto luminance = [](const view::Color& grey) {
        return grey.red <= 0.04045 ? grey.red / 12.92 : std::pow((grey.red + 0.055) / 1.055, 2.4);
    };
    const auto brighter = std::max(luminance(a), luminance(b)), darker = std::min(luminance(a), luminance(b));
    return (brighter + 0.05) / (darker + 0.05);
}

TEST_F(ThemeManagerTest, TextCanBeReadOnEveryFill) {
    auto& theme = ThemeManager::shared();
    for (const auto mode : allThemeModes) {
        theme.currentTheme.set(mode);
        for (const auto& fill : {theme.backgroundColor(), theme.surfaceColor(), theme.hoverFillColor(),
                                 theme.cardFillColor(), theme.selectedFillColor()}) {
            EXPECT_GT(contrast(theme.primaryTextColor(), fill), 7) << rawValue(mode);
            EXPECT_GT(contrast(theme.secondaryTextColor(), fill), 3.5) << rawValue(mode);
        }
        EXPECT_GT(contrast(theme.accentColor(), theme.backgroundColor()), 7) << "the mark on an accent fill";
    }
}

TEST_F(ThemeManagerTest, StoredColoursSnapToThePalette) {
    const struct {
        std::string stored;
        std::size_t entry;
    } cases[] = {
        {"[0.2, 0.2, 0.2]", 0},
        {"[0.275, 0.275, 0.275]", 0},  // as near to the next entry
        {"[0.28,0.28,0.28]", 1},
        {"[0, 0, 0]", 0},
        {"[1, 1, 1]", 5},
        {"[0, 0.9, 0]", 3},
        {"[0.2, 0.3, 7]", 2},
        {"[0.6, 0.2]", 0},
        {"[0.6, 0.2, 0.2, 1]", 0},
        {"[0.6, 0.2, 0.2] ", 4},
        {"[0.6, 0.2, 0.2]x", 0},
        {"[0.6, \"0.2\", 0.2]", 0},
        {"bplist00 of another program", 0},
        {"", 0},
    };
    for (const auto& each : cases) {
        for (const auto* key : {"appearance.colorA", "appearance.colorB", "appearance.singleColor"}) {
            UserDefaults::standard().set(key, PropertyValue(Data(std::string_view(each.stored))));
            const auto loaded = loadAppearanceSettings();
            const auto name = std::string_view(key);
            const auto& color = name.ends_with('A')   ? loaded.colorA
                                : name.ends_with('B') ? loaded.colorB
                                                      : loaded.singleColor;
            EXPECT_EQ(color, blockPalette[each.entry]) << key << ' ' << each.stored;
            UserDefaults::standard().remove(key);
        }
    }
    EXPECT_EQ(loadAppearanceSettings(), AppearanceSettings());
    UserDefaults::standard().set("appearance.blockStyle", "single");
    UserDefaults::standard().set("appearance.colorA", "a string and no data");
    const auto loaded = loadAppearanceSettings();
    EXPECT_EQ(loaded.blockStyle, BlockStyle::single);
    EXPECT_EQ(loaded.colorA, blockPalette[0]);
    UserDefaults::standard().set("appearance.blockStyle", "Single");
    EXPECT_EQ(loadAppearanceSettings().blockStyle, BlockStyle::alternate);
}

}  // namespace
}  // namespace vellumix
