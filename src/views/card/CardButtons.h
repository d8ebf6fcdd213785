#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/transforms/TextTransform.h"
#include "platform/desktop/Sharing.h"
#include "platform/view/values/Views.h"

/// The small buttons of a card.
namespace vellumix {

using ShareItems = std::function<std::vector<SharedItem>()>;

/// A symbol that does one thing.
struct ActionButton {
    std::string icon;
    std::string tooltip;
    bool isDestructive = false;
    Action action;
    view::State<bool> isHovering = false;

    view::View body() const;
};

/// Shows a tick for a second after each press, whatever comes of the copy.
struct CopyActionButton {
    std::string tooltip;
    Action action;
    view::State<bool> isHovering = false;
    view::State<bool> showSuccess = false;

    view::View body() const;
};

/// Offers what can be shared to other programs. Dimmed when `disabled`, but still asked.
struct ShareActionButton {
    std::string tooltip;
    bool disabled = false;
    ShareItems shareItems;
    view::State<bool> isHovering = false;

    view::View body() const;
};

/// A menu of all transforms.
struct TransformMenuButton {
    std::function<void(TextTransform)> action;
    view::State<bool> isHovering = false;

    view::View body() const;
};

/// The unseen part of the share button that opens the menu of services.
struct SharingServiceButton {
    /// Answers for the menu: what is shared is asked for when it opens.
    class Coordinator {
    public:
        explicit Coordinator(ShareItems items) : shareItems(std::move(items)) {}
        /// One line for each service; none, and so no menu, where there is nothing to share.
        std::vector<view::MenuItem> showPicker() const;

        ShareItems shareItems;
    };

    ShareItems shareItems;

    view::View body() const;
};

}  // namespace vellumix
