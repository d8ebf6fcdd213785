#pragma once

#include <string>

#include "platform/view/values/View.h"

namespace vellumix {

/// One filter of the toolbar: a symbol over its caption.
struct FilterChip {
    std::string icon;
    /// Already localised.
    std::string label;
    bool isSelected = false;
    Action action;
    view::State<bool> isHovering = false;

    view::View body() const;
};

}  // namespace vellumix
