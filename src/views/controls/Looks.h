#pragma once

#include "platform/view/values/ControlPalette.h"
#include "platform/view/values/View.h"

/// What the views have in common.
namespace vellumix {

namespace looks {

/// A control under the pointer lights up, and goes out, so fast.
inline constexpr auto hover = view::Curve::easeOut(0.12);

/// The green of what has been done, to be read on the fills of both themes.
inline constexpr view::Color success{0.16, 0.64, 0.31, 1};

}  // namespace looks

/// Of menus, help texts and alerts, in the theme in force.
view::ControlPalette controlPalette();

/// The content in the theme's text colour, with its focus ring, menus, help texts and alerts. It follows a
/// change of theme.
view::View themed(const view::View& content);

}  // namespace vellumix
