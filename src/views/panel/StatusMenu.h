#pragma once

#include <memory>
#include <vector>

#include "platform/desktop/Geometry.h"
#include "platform/desktop/StatusItem.h"
#include "platform/view/windows/PopUpMenu.h"

namespace vellumix {

/// The status item's menu where the desktop doesn't show it itself. Open from its making until something is
/// chosen, or the user or its destruction closes it. Main thread only.
class StatusMenu {
public:
    /// Under or above the icon, which is in the space of the monitors. A choice may destroy this.
    StatusMenu(const std::vector<StatusMenuEntry>& entries, const Rect& icon);

private:
    std::unique_ptr<view::PopUpMenu> menu;
};

}  // namespace vellumix
