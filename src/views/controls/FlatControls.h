#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/view/values/View.h"

/// Controls with the program's own flat look. Each follows the theme and lights up under the pointer.
namespace vellumix {

/// A thin line with some room above and below.
struct FlatDivider {
    view::View body() const;
};

/// A whole row that turns its binding over.
struct FlatCheckbox {
    std::string label;
    view::Binding<bool> isOn;
    view::State<bool> isHovering = false;

    view::View body() const;
};

struct FlatCapsuleButton {
    std::string title;
    /// Name of the symbol before the title.
    std::optional<std::string> icon;
    Action action;
    view::State<bool> isHovering = false;

    view::View body() const;
};

/// A card with a heading.
struct SettingsSection {
    std::string title;
    std::function<view::View()> content;

    view::View body() const;
};

}  // namespace vellumix
