#include <gtest/gtest.h>

#include <algorithm>

#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"
#include "views/controls/FlatControls.h"
#include "views/controls/Looks.h"
#include "views/controls/Pickers.h"

namespace vellumix {
namespace {

using namespace view;

/// Bound to the services, as the settings are.
template <class T>
Binding<T> bound(Published<T>& property) {
    return Binding<T>([&property] { return property.get(); }, [&property](T value) { property.set(value); });
}

class ControlsTest : public HeadlessTest {};

TEST_F(ControlsTest, ThemeChangeRedrawsAHoveredControlAndKeepsItsHover) {
    auto& theme = ThemeManager::shared();
    const auto root = VStack(Spacing(0), ThemePicker{bound(theme.currentTheme)},
                             FlatCapsuleButton{.title = "Grant", .action = [] {}});
    TreeUnderTest controls(themed(root), {{300, 100}});
    const auto fills = [&](const Color& color) {
        const auto all = controls.drawn<draw::Fill>();
        return std::ranges::count_if(all, [&](const draw::Fill& fill) { return fill.color == color; });
    };
    const auto darkSwatch = Color::grey(0.15);
    const auto dark = controls.find(Role::radioButton, "Dark");
    controls.hover(Role::button, "Grant");
    controls.frame(1);
    EXPECT_EQ(fills(Color::grey(0.9)), 1);
    EXPECT_EQ(fills(darkSwatch), 1);

    dark.actions.front().perform();
    controls.frame();
    controls.frame(1);
    EXPECT_EQ(theme.currentTheme.get(), ThemeMode::dark);
    EXPECT_TRUE(controls.find(Role::radioButton, "Dark").state.isSelected);
    EXPECT_EQ(fills(Color::grey(0.22)), 1);
    EXPECT_EQ(fills(darkSwatch), 1);
}

TEST_F(ControlsTest, CheckboxTurnsItsBindingOver) {
    Published<bool> isOn{false};
    TreeUnderTest box(FlatCheckbox{.label = "Daily", .isOn = bound(isOn)}, {{200, 30}});
    EXPECT_FALSE(box.find(Role::checkbox, "Daily").state.isChecked);
    box.hover(Role::checkbox, "Daily");
    EXPECT_EQ(box.tree->cursor(), Cursor::pointingHand);
    box.click(Role::checkbox, "Daily");
    EXPECT_TRUE(isOn.get());
    EXPECT_TRUE(box.find(Role::checkbox, "Daily").state.isChecked);
    box.tree->focusNext();
    box.press(Key::space);
    EXPECT_FALSE(isOn.get());
    EXPECT_EQ(box.find(Role::checkbox, "Daily").frame.size.width, 200) << "the whole row";
}

TEST_F(ControlsTest, LanguagesKeepTheirNamesAndTheDesktopsIsTranslated) {
    auto& language = LanguageManager::shared().currentLanguage;
    TreeUnderTest picker(LanguagePicker{bound(language)}, {{300, 30}});
    std::vector<MenuItem> items;
    picker.tree->onMenu([&](const MenuRequest& menu) { items = menu.items; });
    picker.click(Role::menuButton, "Language");
    ASSERT_EQ(items.size(), 4U);
    EXPECT_EQ(items[0].title, "System Language");
    EXPECT_TRUE(items[0].isChecked);
    items[3].action();
    EXPECT_EQ(language.get(), AppLanguage::es);
    picker.click(Role::menuButton, "Idioma");
    EXPECT_NE(items[0].title, "System Language");
    EXPECT_EQ(items[2].title, "Português");
    EXPECT_TRUE(items[3].isChecked);
}

}  // namespace
}  // namespace vellumix
