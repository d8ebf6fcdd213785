#pragma once

#include <functional>

#include "platform/view/values/View.h"

namespace vellumix {

/// The pages of the panel.
enum class ViewState { clipboard, settings };

/// The bar at the top of the panel: the page's title, and a button to the other page.
struct HeaderView {
    ViewState currentView = ViewState::clipboard;
    std::function<void(ViewState)> onNavigate;
    view::State<bool> gearHovering = false;

    view::View body() const;
};

}  // namespace vellumix
