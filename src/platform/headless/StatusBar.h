#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/StatusItem.h"

namespace vellumix::headless {

/// A panel in memory with room for one icon.
class StatusBar final : public NSStatusBar {
public:
    /// What a person sees of the icon, and can click.
    struct Icon {
        std::string symbolName;
        std::string accessibilityDescription;
        Work action;
        std::vector<StatusMenuEntry> menu;
    };

    std::unique_ptr<NSStatusItem> makeStatusItem() override;

    /// Absent while there is no item.
    const std::optional<Icon>& icon() const { return *icon_; }
    /// Chooses the enabled line with the title; false when there is none.
    bool choose(const std::string& title);

private:
    // Shared, so that an item that outlives the bar finds its place.
    std::shared_ptr<std::optional<Icon>> icon_ = std::make_shared<std::optional<Icon>>();
};

}  // namespace vellumix::headless
