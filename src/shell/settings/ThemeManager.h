#pragma once

#include <string_view>

#include "platform/foundation/files/Setting.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/view/values/Style.h"

namespace vellumix {

enum class ThemeMode { light, dark };

/// Every theme, in the order in which they are offered.
inline constexpr ThemeMode allThemeModes[] = {ThemeMode::light, ThemeMode::dark};

/// "light" or "dark", as it is stored.
std::string_view rawValue(ThemeMode theme);

/// The look of the program: one of two themes, chosen by the user and kept in the user defaults, whatever the
/// desktop's own appearance is. Main thread only.
///
/// The colours follow `currentTheme` at each call; the fonts are the same in both themes.
class ThemeManager {
public:
    /// Posted without user information on the default centre, on a later turn of the main loop than the
    /// change, so that the change has settled.
    static constexpr std::string_view didChangeNotification = "themeDidChange";

    static ThemeManager& shared();

    /// Reads the stored theme; anything but the exact word for `dark` is `light`.
    ThemeManager();

    /// Setting it, to the same value too, stores it and posts `didChangeNotification`.
    PublishedSetting<ThemeMode, AsName<allThemeModes>> currentTheme;

    /// The window; the mark on an accent fill.
    view::Color backgroundColor() const { return grey(0.11, 0.96); }
    /// Sections and controls at rest.
    view::Color surfaceColor() const { return grey(0.16, 1.0); }
    /// A control under the pointer.
    view::Color hoverFillColor() const { return grey(0.22, 0.90); }
    /// Fills inside the list's cards.
    view::Color cardFillColor() const { return grey(0.20, 0.94); }
    /// A selected option.
    view::Color selectedFillColor() const { return grey(0.25, 0.88); }
    /// Outline of sections and capsules.
    view::Color controlStrokeColor() const { return grey(0.20, 0.82); }
    /// Dividers, and the outline of an unset checkbox and of the language picker.
    view::Color borderColor() const { return grey(0.25, 0.78); }
    view::Color primaryTextColor() const { return grey(0.93, 0.10); }
    /// Secondary text and resting labels.
    view::Color secondaryTextColor() const { return grey(0.60, 0.40); }
    /// Hints.
    view::Color mutedTextColor() const { return grey(0.45, 0.55); }
    /// The symbols that tell a state in the settings.
    view::Color iconColor() const { return grey(0.70, 0.30); }
    /// A set checkbox, the outline of a selected option, check marks.
    view::Color accentColor() const { return grey(0.85, 0.20); }
    /// Errors and refused states, in both themes.
    static constexpr view::Color dangerColor() { return {0.9, 0.3, 0.3, 1.0}; }

    static constexpr view::Font titleFont() { return view::Font::system(18, Weight::semibold); }
    static constexpr view::Font headingFont() { return view::Font::system(15, Weight::medium); }
    static constexpr view::Font sectionFont() { return view::Font::system(13, Weight::medium); }
    static constexpr view::Font bodyFont() { return view::Font::system(13); }
    static constexpr view::Font smallFont() { return view::Font::system(12); }
    static constexpr view::Font codeFont() {
        return view::Font::system(12, Weight::regular, view::Font::Design::monospaced);
    }
    static constexpr view::Font captionFont() { return view::Font::system(10); }

private:
    using Weight = view::Font::Weight;

    view::Color grey(double dark, double light) const {
        return view::Color::grey(currentTheme.get() == ThemeMode::dark ? dark : light);
    }
    /// Tells everyone of a theme that is stored already.
    void applyTheme();

    Observation ownChange;
    Lifetime lifetime;
};

}  // namespace vellumix
