#pragma once

#include "platform/view/values/Views.h"
#include "views/panel/HeaderView.h"

namespace vellumix {

/// All that the panel shows: the header, and one page under it. Needs the `Store` and the `AppDelegate` in
/// its environment. Theme and language change everything in it at once; the page stays.
struct RootContainerView {
    view::State<ViewState> currentView = ViewState::clipboard;

    view::View body() const;
};

}  // namespace vellumix
