#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/Event.h"
#include "platform/foundation/text/String.h"
#include "platform/view/values/ControlPalette.h"
#include "platform/view/values/State.h"

/// What views ask their window to show in windows of its own.
namespace vellumix::view {

/// One line of a menu.
struct MenuItem {
    String title;
    /// Name of the symbol before the title; none where it is empty.
    std::string symbol;
    bool isChecked = false;
    bool isEnabled = true;
    /// A line across the menu in place of all else.
    bool isSeparator = false;
    Action action;
};
using MenuItems = std::function<std::vector<MenuItem>()>;

/// A menu that is to open.
struct MenuRequest {
    std::vector<MenuItem> items;
    /// What it opens under, in the window.
    Rect anchor;
    ControlPalette palette;
    /// The button of the pointer is still down, and may be let go over an item.
    bool isPressed = false;
};

struct AlertButton {
    enum class Role {
        plain,
        /// Does something that can't be undone; shown in the colour of danger.
        destructive,
        /// The one that the escape key and the window's frame choose.
        cancel,
    };
    String title;
    Role role = Role::plain;
    Action action;
    /// The one that the enter key chooses. Where none says so, that is the first plain one, or the only one
    /// beside the cancel button.
    bool isDefault = false;
};

/// A question, or news that wait for an answer.
struct AlertDescription {
    String title;
    String message;
    std::vector<AlertButton> buttons;
};

/// An alert that a view wants shown for as long as the binding is true.
struct AlertRequest {
    Binding<bool> isPresented;
    AlertDescription description;
    ControlPalette palette;
    /// Expires with the view; tells the alerts of two views apart.
    std::weak_ptr<const void> source;
};

}  // namespace vellumix::view
