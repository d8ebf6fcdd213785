#pragma once

#include "platform/view/values/Environment.h"

namespace vellumix::view {

/// Colours of the menus, help texts and alerts that a view opens. Light by default; another is given by
/// `View::environment(ControlPalette{...})`.
struct ControlPalette {
    Color background = Color::grey(0.98);
    Color border = Color::grey(0, 0.14);
    Color text = Color::grey(0.1);
    Color secondaryText = Color::grey(0.42);
    /// Under the pointer, and of the buttons of an alert.
    Color hover = Color::grey(0, 0.07);
    Color accent{0.04, 0.45, 0.94, 1};
    Color danger{0.84, 0.15, 0.16, 1};

    friend bool operator==(const ControlPalette&, const ControlPalette&) = default;
};

/// The one that was given to what has this environment.
inline ControlPalette controlPalette(const Environment& environment) {
    const auto* given = static_cast<const ControlPalette*>(environment.find(typeid(ControlPalette)));
    return given ? *given : ControlPalette();
}

}  // namespace vellumix::view
