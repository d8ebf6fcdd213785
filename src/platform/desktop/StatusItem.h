#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

/// One line of a status item's menu.
struct StatusMenuEntry {
    enum class Kind { command, separator };

    Kind kind = Kind::command;
    /// Already localised; empty for a separator.
    std::string title;
    bool isEnabled = true;
    /// Called when the user chooses the line. May change the menu or destroy the item.
    Work action;

    static StatusMenuEntry separator() { return {.kind = Kind::separator}; }
};

/// The program's icon in the desktop's panel, from its making to its destruction. Main thread only.
///
/// A desktop may have no place for it, or get or lose one at any time: then it isn't seen, and nothing else
/// changes. Every setter takes effect at once wherever the icon is seen.
class NSStatusItem {
public:
    virtual ~NSStatusItem() = default;
    /// The image by the name of its symbol, tinted by the desktop or readable on light and dark panels; none
    /// when the name isn't known. The description is what the icon says to those who don't see it.
    virtual void setImage(const std::string& symbolName, const std::string& accessibilityDescription) = 0;
    /// Called when the user activates the icon. Without an action the icon opens its menu instead.
    virtual void setAction(Work action) = 0;
    virtual void setMenu(std::vector<StatusMenuEntry> entries) = 0;
};

/// Where status items are. Main thread only.
class NSStatusBar {
public:
    virtual ~NSStatusBar() = default;
    /// A new item without image, action and menu. Never fails and waits for nobody.
    virtual std::unique_ptr<NSStatusItem> makeStatusItem() = 0;
};

}  // namespace vellumix
