#include "platform/view/values/Semantics.h"

namespace vellumix::view {

std::string nameOf(Role role) {
    switch (role) {
        case Role::none:
            return "none";
        case Role::alert:
            return "alert";
        case Role::button:
            return "button";
        case Role::checkbox:
            return "checkbox";
        case Role::group:
            return "group";
        case Role::heading:
            return "heading";
        case Role::image:
            return "image";
        case Role::list:
            return "list";
        case Role::listItem:
            return "list item";
        case Role::menu:
            return "menu";
        case Role::menuButton:
            return "menu button";
        case Role::menuItem:
            return "menu item";
        case Role::progressIndicator:
            return "progress indicator";
        case Role::radioButton:
            return "radio button";
        case Role::scrollArea:
            return "scroll area";
        case Role::text:
            return "text";
        case Role::textField:
            return "text field";
    }
    return {};
}

const SemanticNode* SemanticNode::find(Role wantedRole, std::string_view wantedLabel) const {
    if (role == wantedRole && label.view() == wantedLabel) return this;
    for (const auto& child : children) {
        if (const auto* found = child.find(wantedRole, wantedLabel)) return found;
    }
    return nullptr;
}

}  // namespace vellumix::view
