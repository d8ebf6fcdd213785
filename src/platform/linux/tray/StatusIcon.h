#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "platform/foundation/bytes/Data.h"

namespace vellumix::linux_desktop {

/// A square picture for a bar whose colours nobody knows: light strokes on a dark ground of its own.
struct StatusIcon {
    /// In pixels.
    int side = 0;
    /// ARGB32 in network byte order, not premultiplied, row by row from the top (Status Notifier Item,
    /// "Icons").
    Bytes pixels;
};

/// The symbol with that side; nothing for a name that isn't known.
std::optional<StatusIcon> statusIcon(std::string_view symbolName, int side);
/// The symbol in the sizes that trays ask for; none for a name that isn't known.
std::vector<StatusIcon> statusIcons(std::string_view symbolName);

}  // namespace vellumix::linux_desktop
