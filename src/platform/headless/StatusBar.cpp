#include "platform/headless/StatusBar.h"

#include <utility>

namespace vellumix::headless {

namespace {

class StatusItem final : public NSStatusItem {
public:
    explicit StatusItem(std::shared_ptr<std::optional<StatusBar::Icon>> icon) : icon(std::move(icon)) {
        this->icon->emplace();
    }
    ~StatusItem() override { icon->reset(); }

    void setImage(const std::string& symbolName, const std::string& accessibilityDescription) override {
        (*icon)->symbolName = symbolName;
        (*icon)->accessibilityDescription = accessibilityDescription;
    }
    void setAction(Work action) override { (*icon)->action = std::move(action); }
    void setMenu(std::vector<StatusMenuEntry> entries) override { (*icon)->menu = std::move(entries); }

private:
    std::shared_ptr<std::optional<StatusBar::Icon>> icon;
};

}  // namespace

std::unique_ptr<NSStatusItem> StatusBar::makeStatusItem() { return std::make_unique<StatusItem>(icon_); }

bool StatusBar::choose(const std::string& title) {
    if (!*icon_) return false;
    for (const auto& entry : (*icon_)->menu) {
        if (entry.title != title || !entry.isEnabled || !entry.action) continue;
        // A copy, as the action may change the menu.
        const auto action = entry.action;
        action();
        return true;
    }
    return false;
}

}  // namespace vellumix::headless
