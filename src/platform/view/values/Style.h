#pragma once

#include <cstdint>

namespace vellumix::view {

/// A colour in the sRGB space (IEC 61966-2-1), not premultiplied, each component from 0 to 1.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    static constexpr Color grey(double white, double alpha = 1) { return {white, white, white, alpha}; }
    static constexpr Color clear() { return {0, 0, 0, 0}; }
    constexpr Color withOpacity(double opacity) const { return {red, green, blue, alpha * opacity}; }

    friend bool operator==(const Color&, const Color&) = default;
};

/// A font of the desktop: its user-interface family, or its monospace family.
struct Font {
    enum class Design { system, monospaced };
    /// As the weights of CSS Fonts Level 4, section 2.2.
    enum class Weight { thin = 100, regular = 400, medium = 500, semibold = 600, bold = 700 };

    /// In points.
    double size = 13;
    Weight weight = Weight::regular;
    Design design = Design::system;
    bool isItalic = false;

    static constexpr Font system(double size, Weight weight = Weight::regular,
                                 Design design = Design::system) {
        return {size, weight, design, false};
    }
    constexpr Font italic() const { return {size, weight, design, true}; }

    friend bool operator==(const Font&, const Font&) = default;
};

}  // namespace vellumix::view
