#include "platform/view/tree/Handlers.h"
#include "platform/view/tree/Node.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

SemanticNode groupOf(const Node& node, std::vector<SemanticNode> inside) {
    SemanticNode group;
    group.role = Role::group;
    group.frame = node.visible;
    group.state.isDisabled = !node.environment->isEnabled;
    group.children = std::move(inside);
    return group;
}

class InteractionElement final : public Wrapper {
public:
    InteractionElement(View content, Handlers handlers)
        : Wrapper(std::move(content)), handlers_(std::move(handlers)) {}

    const char* name() const override { return "Interaction"; }
    const Handlers* handlers() const override { return &handlers_; }
    bool isSolid() const override { return handlers_.wantsPointer(); }

    void record(Node& node, Recorder& recorder) const override {
        const bool looksPressed = node.isPressed && handlers_.isButton;
        constexpr double pressedOpacity = 0.7;
        if (looksPressed) recorder.add(draw::PushLayer{.opacity = pressedOpacity});
        recorder.recordChildren(node);
        if (looksPressed) recorder.add(draw::Pop{});
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        std::vector<SemanticNode> inside;
        Wrapper::describe(node, inside);
        if (handlers_.isButton || handlers_.menu) {
            SemanticNode button;
            button.role = handlers_.menu ? Role::menuButton : Role::button;
            button.frame = node.visible;
            button.state.isDisabled = !node.environment->isEnabled;
            button.state.isFocused = node.hasFocus;
            button.label = joinedLabels(inside);
            button.actions.push_back({"press", [weak = node.weak_from_this()] { press(weak); }});
            into.push_back(std::move(button));
            return;
        }
        if (handlers_.onTap) {
            if (inside.size() != 1) inside = {groupOf(node, std::move(inside))};
            inside.front().actions.push_back({"press", [weak = node.weak_from_this()] { press(weak); }});
        }
        if (node.hasFocus && inside.size() == 1) inside.front().state.isFocused = true;
        for (auto& one : inside) {
            if (!handlers_.help.empty() && one.help.empty()) {
                one.help = handlers_.help;
                if (one.label.empty()) one.label = handlers_.help;
            }
            into.push_back(std::move(one));
        }
    }

private:
    static String joinedLabels(const std::vector<SemanticNode>& nodes) {
        std::string joined;
        for (const auto& one : nodes) {
            if (!joined.empty() && !one.label.empty()) joined += ' ';
            joined += one.label.view();
        }
        return joined;
    }

    static void press(const std::weak_ptr<const Node>& weak) {
        const auto node = weak.lock();
        if (!node || node->isGone || !node->environment->isEnabled) return;
        // Held, as the action may put another description in its place.
        const auto element = node->element;
        const auto* handlers = element->handlers();
        if (handlers && handlers->menu) return node->wantMenu();
        if (handlers && handlers->onTap) handlers->onTap();
    }

    Handlers handlers_;
};

class SemanticsElement final : public Wrapper {
public:
    SemanticsElement(View content, Semantics semantics)
        : Wrapper(std::move(content)), semantics(std::move(semantics)) {}
    const char* name() const override { return "Semantics"; }

    /// Says it of the one thing inside, or of a group of all that is inside.
    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        std::vector<SemanticNode> inside;
        Wrapper::describe(node, inside);
        auto said = inside.size() == 1 ? std::move(inside.front()) : groupOf(node, std::move(inside));
        if (semantics.role != Role::none) said.role = semantics.role;
        if (!semantics.label.empty()) said.label = semantics.label;
        if (!semantics.value.empty()) said.value = semantics.value;
        const auto& state = semantics.state;
        said.state.isSelected |= state.isSelected;
        said.state.isChecked |= state.isChecked;
        said.state.isExpanded |= state.isExpanded;
        said.state.isDisabled |= state.isDisabled;
        for (const auto& action : semantics.actions) said.actions.push_back(action);
        into.push_back(std::move(said));
    }

private:
    Semantics semantics;
};

View interacting(const View& content, Handlers handlers) {
    return View(std::make_shared<const InteractionElement>(content, std::move(handlers)));
}

}  // namespace

View View::onHover(std::function<void(bool)> handler, std::optional<Cursor> cursor) const {
    Handlers handlers;
    handlers.onHover = std::move(handler);
    handlers.cursor = cursor;
    return interacting(*this, std::move(handlers));
}
View View::onHover(const Binding<bool>& isOver, std::optional<Cursor> cursor) const {
    return onHover([isOver](bool now) { isOver.set(now); }, cursor);
}
View View::onHover(const State<bool>& isOver, std::optional<Cursor> cursor) const {
    return onHover(isOver.binding(), cursor);
}
View View::onTap(Action action) const {
    Handlers handlers;
    handlers.onTap = std::move(action);
    handlers.focus = Handlers::Focus::byKeysAlone;
    return interacting(*this, std::move(handlers));
}
View View::onClickOutside(Action action) const {
    Handlers handlers;
    handlers.onClickOutside = std::move(action);
    return interacting(*this, std::move(handlers));
}
View View::onKey(KeyHandler handler) const {
    Handlers handlers;
    handlers.onKey = std::move(handler);
    return interacting(*this, std::move(handlers));
}
View View::focusable() const {
    Handlers handlers;
    handlers.focus = Handlers::Focus::byPressToo;
    return interacting(*this, std::move(handlers));
}
View View::focusable(const Binding<bool>& isFocused) const {
    Handlers handlers;
    handlers.focus = Handlers::Focus::byPressToo;
    handlers.isFocused = isFocused;
    return interacting(*this, std::move(handlers));
}
View View::windowAction(WindowAction action) const {
    Handlers handlers;
    handlers.windowAction = action;
    return interacting(*this, std::move(handlers));
}
View View::alert(const Binding<bool>& isPresented, AlertDescription alert) const {
    Handlers handlers;
    if (isPresented.get()) {
        handlers.alert = std::make_shared<const AlertRequest>(
            AlertRequest{.isPresented = isPresented, .description = std::move(alert)});
    }
    return interacting(*this, std::move(handlers));
}
View View::help(String text) const {
    Handlers handlers;
    handlers.help = std::move(text);
    return interacting(*this, std::move(handlers));
}
View View::semantics(Semantics semantics) const {
    return View(std::make_shared<const SemanticsElement>(*this, std::move(semantics)));
}
View View::semantics(Role role, String label, bool isSelected) const {
    Semantics said;
    said.role = role;
    said.label = std::move(label);
    said.state.isSelected = isSelected;
    return semantics(std::move(said));
}

Button::Button(Action action, const View& label) {
    Handlers handlers;
    handlers.onTap = std::move(action);
    handlers.isButton = true;
    handlers.focus = Handlers::Focus::byKeysAlone;
    static_cast<View&>(*this) = interacting(label, std::move(handlers));
}

Menu::Menu(const View& label, MenuItems items) {
    Handlers handlers;
    handlers.menu = std::move(items);
    handlers.focus = Handlers::Focus::byKeysAlone;
    static_cast<View&>(*this) = interacting(label, std::move(handlers));
}

}  // namespace vellumix::view
