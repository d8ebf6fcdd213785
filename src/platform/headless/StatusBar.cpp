#include "platform/headless/StatusBar.h"

#include <utility>

namespace vellumix::headless {

namespace {

class StatusItem final : public NSStatusItem {
public:
    explicit StatusItem(std::shared_ptr<std::optional<StatusBar::Icon>> icon) : _icon(std::move(icon)) {
        _icon->emplace();
    }
    ~StatusItem() override { _icon->reset(); }

    void setImage(const std::string& symbolName, const std::string& accessibilityDescription) override {
        (*_icon)->symbolName = symbolName;
        (*_icon)->accessibilityDescription = accessibilityDescription;
    }
    void setAction(Work action) override { (*_icon)->action = std::move(action); }
    void setMenu(std::vector<StatusMenuEntry> entries) override { (*_icon)->menu = std::move(entries); }

private:
    std::shared_ptr<std::optional<StatusBar::Icon>> _icon;
};

}  // namespace

std::unique_ptr<NSStatusItem> StatusBar::makeStatusItem() { return std::make_unique<StatusItem>(_icon); }

bool StatusBar::choose(const std::string& title) {
    if (!*_icon) return false;
    for (const auto& entry : (*_icon)->menu) {
        if (entry.title != title || !entry.isEnabled || !entry.action) continue;
        // A copy, as the action may change the menu.
        const auto action = entry.action;
        action();
        return true;
    }
    return false;
}

}  // namespace vellumix::headless
