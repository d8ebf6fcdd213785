#pragma once

#include "platform/view/values/View.h"
#include "platform/view/windows/HostingView.h"

namespace vellumix {

/// The panel's body: rounded, in the colours of the theme, with the panel's shadow around it. It follows the
/// theme.
struct AdaptiveContainerView {
    static constexpr double cornerRadius = 20;

    view::View content;
    view::Chrome chrome;

    view::View body() const;
};

}  // namespace vellumix
