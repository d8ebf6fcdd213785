#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/desktop/Geometry.h"
#include "platform/foundation/text/String.h"

namespace vellumix::view {

/// What a view is to someone who doesn't see it (names as in WAI-ARIA 1.2, section 5.3).
enum class Role {
    none,
    alert,
    button,
    checkbox,
    group,
    heading,
    image,
    list,
    listItem,
    menu,
    menuButton,
    menuItem,
    progressIndicator,
    radioButton,
    scrollArea,
    text,
    textField,
};
std::string nameOf(Role role);

struct SemanticState {
    bool isSelected = false;
    bool isChecked = false;
    bool isExpanded = false;
    bool isDisabled = false;
    bool isFocused = false;

    friend bool operator==(const SemanticState&, const SemanticState&) = default;
};

/// Something that can be done with a view otherwise than by pointer, "press" for one.
struct SemanticAction {
    String name;
    /// Does nothing once the view has gone.
    std::function<void()> perform;
};

/// What a view says of itself. An empty field leaves what its content says.
struct Semantics {
    Role role = Role::none;
    String label;
    String value;
    SemanticState state;
    std::vector<SemanticAction> actions;
};

/// One thing of a window, as assistive technology and tests see it.
struct SemanticNode {
    Role role = Role::none;
    String label;
    String value;
    /// What the view does, shown as a tooltip.
    String help;
    SemanticState state;
    std::vector<SemanticAction> actions;
    /// In the window, cut to what can be seen of it.
    Rect frame;
    std::vector<SemanticNode> children;

    /// The first thing of this role and label in here, itself too; null where there is none.
    const SemanticNode* find(Role wantedRole, std::string_view wantedLabel) const;
};

}  // namespace vellumix::view
