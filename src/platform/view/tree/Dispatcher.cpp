#include "platform/view/tree/Dispatcher.h"

#include <algorithm>
#include <utility>

#include "platform/view/tree/ChosenRow.h"
#include "platform/view/tree/InputElement.h"
#include "platform/view/tree/TreeCore.h"

namespace vellumix::view {

namespace {

Node* hit(Node& node, Point at) {
    if (node.isOutOfSight) return nullptr;
    for (auto child = node.children.rbegin(); child != node.children.rend(); ++child) {
        if (auto* found = hit(**child, at)) return found;
    }
    return node.element->isSolid() && node.visible.contains(at) ? &node : nullptr;
}

void collect(Node& node, std::vector<std::shared_ptr<Node>>& into) {
    if (node.isParked) return;
    into.push_back(node.shared_from_this());
    for (const auto& child : node.children) collect(*child, into);
}

const Handlers* handlersOf(const Node& node) {
    return node.isGone || !node.element ? nullptr : node.element->handlers();
}
/// What a disabled view would do is nothing.
const Handlers* enabledHandlersOf(const Node& node) {
    const auto* handlers = handlersOf(node);
    return handlers && node.environment->isEnabled ? handlers : nullptr;
}
/// The text field that this view is, or stands right around; null where there is none.
const Node* fieldIn(const Node& node) {
    const auto* inside = &node;
    while (!inside->element->input() && inside->children.size() == 1) inside = inside->children.front().get();
    const auto* input = inside->element->input();
    return input && input->isTextField() ? inside : nullptr;
}
bool takesFocus(const Node& node) {
    const auto* handlers = enabledHandlersOf(node);
    if (!handlers || handlers->focus == Handlers::Focus::none) return false;
    const auto* field = fieldIn(node);
    return !field || field == &node || handlers->isButton;
}
/// The binding of the focus of a view: its own, or that of one right around a text field.
std::optional<Binding<bool>> focusBindingOf(const std::shared_ptr<Node>& focus) {
    for (const auto* node = focus.get(); node; node = node->parent) {
        const auto* handlers = handlersOf(*node);
        if (handlers && handlers->isFocused) return handlers->isFocused;
        if (node->parent && fieldIn(*node->parent) != focus.get()) break;
    }
    return std::nullopt;
}
/// What takes the focus for a view.
std::shared_ptr<Node> focusOf(const std::shared_ptr<Node>& node) {
    const auto* field = takesFocus(*node) ? nullptr : fieldIn(*node);
    return field ? const_cast<Node*>(field)->shared_from_this() : node;
}

bool isInChosenRow(const Node& node) {
    const auto* row = static_cast<const ChosenRow*>(node.environment->find(typeid(ChosenRow)));
    return row && row->isChosen;
}
/// What takes the focus for the chosen row of a list in here; null inside of one, and where there is none.
std::shared_ptr<Node> chosenRowIn(const Node& around) {
    if (isInChosenRow(around)) return nullptr;
    const auto nodes = allNodes(const_cast<Node&>(around));
    const auto found = std::find_if(nodes.begin(), nodes.end(), [](const auto& node) {
        return isInChosenRow(*node) && takesFocus(*node);
    });
    return found == nodes.end() ? nullptr : *found;
}

bool isChord(const KeyModifiers& modifiers) {
    return modifiers.hasCommand || modifiers.hasControl || modifiers.hasOption;
}

/// Runs what a view does on a tap, from a copy that lasts though the view may go.
bool tap(const Node& node) {
    const auto* handlers = enabledHandlersOf(node);
    if (!handlers || !handlers->onTap) return false;
    const auto action = handlers->onTap;
    action();
    return true;
}

}  // namespace

std::vector<std::shared_ptr<Node>> allNodes(Node& root) {
    std::vector<std::shared_ptr<Node>> nodes;
    collect(root, nodes);
    return nodes;
}

Dispatcher::Nodes Dispatcher::pathFrom(Node* innermost) {
    Nodes path;
    for (auto* node = innermost; node; node = node->parent) path.push_back(node->shared_from_this());
    return path;
}

Dispatcher::Nodes Dispatcher::pathAt(Point at) const { return pathFrom(hit(core.root(), at)); }

void Dispatcher::pointerMoved(std::optional<Point> at) {
    pointer = at;
    if (const auto node = at ? dragged() : nullptr) {
        node->element->input()->pointerDragged(*node, *at);
        core.needDrawing();
    }
    updateHover();
    updatePressed(true);
}

void Dispatcher::updatePressed(bool isHeld) {
    const auto node = pressed.lock();
    if (!node) return;
    const auto path = isHeld && pointer ? pathAt(*pointer) : Nodes();
    const bool isPressed = std::find(path.begin(), path.end(), node) != path.end();
    if (std::exchange(node->isPressed, isPressed) != isPressed) core.needDrawing();
}

std::shared_ptr<Node> Dispatcher::dragged() const {
    const auto node = dragged_.lock();
    return node && enabledHandlersOf(*node) && node->element->input() ? node : nullptr;
}

void Dispatcher::updateHover() {
    const auto path = pointer ? pathAt(*pointer) : Nodes();
    hovered.assign(path.begin(), path.end());
    const auto isUnder = [&](const std::weak_ptr<Node>& weak) {
        const auto node = weak.lock();
        return node && !node->isGone && std::find(path.begin(), path.end(), node) != path.end();
    };
    std::vector<std::function<void(bool)>> left;
    for (auto told = this->told.rbegin(); told != this->told.rend(); ++told) {
        if (!isUnder(told->node)) left.push_back(told->tell);
    }
    std::erase_if(this->told, [&](const Told& told) { return !isUnder(told.node); });
    std::vector<std::function<void(bool)>> entered;
    for (auto node = path.rbegin(); node != path.rend(); ++node) {
        const auto* handlers = handlersOf(**node);
        if (!handlers || !handlers->onHover) continue;
        const auto known = std::find_if(this->told.begin(), this->told.end(),
                                        [&](const Told& told) { return told.node.lock() == *node; });
        if (known != this->told.end()) {
            known->tell = handlers->onHover;
            continue;
        }
        this->told.push_back({*node, handlers->onHover});
        entered.push_back(handlers->onHover);
    }
    for (const auto& tell : left) tell(false);
    for (const auto& tell : entered) tell(true);
}

void Dispatcher::pointerPressed(const PointerPress& press) {
    pointerMoved(press.at);
    const auto path = pathAt(press.at);
    const auto isInside = [&](const std::shared_ptr<Node>& node) {
        return std::find(path.begin(), path.end(), node) != path.end();
    };
    std::vector<Action> outside;
    for (const auto& node : allNodes(core.root())) {
        const auto* handlers = enabledHandlersOf(*node);
        if (handlers && handlers->onClickOutside && !isInside(node)) {
            outside.push_back(handlers->onClickOutside);
        }
    }
    if (press.button == PointerButton::primary) {
        updatePressed(false);
        this->pressed.reset();
        dragged_.reset();
        std::shared_ptr<Node> focus;
        for (const auto& node : path) {
            const auto* handlers = enabledHandlersOf(*node);
            if (!handlers) continue;
            if (!focus && handlers->isFocusedByPress()) focus = focusOf(node);
            if (!this->pressed.expired() || !dragged_.expired()) continue;
            if (node->element->input()) dragged_ = node;
            if (handlers->onTap || handlers->menu) this->pressed = node;
        }
        // Before the focus comes, which brings the caret into sight where it was.
        if (const auto node = dragged()) {
            node->element->input()->pointerPressed(*node, press);
            core.needDrawing();
        }
        setFocus(focus, false);
    }
    for (const auto& action : outside) action();
    updatePressed(true);
    const auto pressed = press.button == PointerButton::primary ? this->pressed.lock() : nullptr;
    if (pressed) openMenu(*pressed, true);
}

bool Dispatcher::takesPress(Point at) const {
    const auto path = pathAt(at);
    return std::any_of(path.begin(), path.end(), [](const auto& node) {
        const auto* handlers = enabledHandlersOf(*node);
        return handlers && handlers->takesPress();
    });
}

void Dispatcher::openMenu(const Node& node, bool isPressed) {
    const auto* handlers = enabledHandlersOf(node);
    if (!handlers || !handlers->menu) return;
    MenuRequest request{
        .anchor = node.visible, .palette = controlPalette(*node.environment), .isPressed = isPressed};
    const auto items = handlers->menu;
    request.items = items();
    if (!request.items.empty()) core.openMenu(request);
}

void Dispatcher::pointerReleased(Point at, PointerButton button) {
    pointerMoved(at);
    if (button != PointerButton::primary) return;
    if (const auto node = dragged()) node->element->input()->pointerReleased(*node);
    dragged_.reset();
    updatePressed(false);
    const auto pressed = std::exchange(this->pressed, {}).lock();
    if (!pressed || pressed->isGone) return;
    const auto path = pathAt(at);
    if (std::find(path.begin(), path.end(), pressed) != path.end()) tap(*pressed);
}

void Dispatcher::scrolled(Point at, double by) {
    for (const auto& node : pathAt(at)) {
        if (!node->element->scroll(*node, by)) continue;
        core.needLayout();
        return;
    }
}

bool Dispatcher::keyPressed(const KeyEvent& event) {
    return runFocusKeys(event) || runKeyHandlers(event) || runWindowKeys(event);
}

bool Dispatcher::runKeyHandlers(const KeyEvent& event) {
    auto nodes = focus() ? pathFrom(focus_.lock().get()) : allNodes(core.root());
    if (!focus()) std::reverse(nodes.begin(), nodes.end());
    for (const auto& node : nodes) {
        const auto* handlers = enabledHandlersOf(*node);
        if (!handlers) continue;
        // Held, as what it does may put another description in its place.
        if (const auto element = node->element; node->hasFocus && element->input()) {
            if (element->input()->keyPressed(*node, event)) {
                core.needDrawing();
                return true;
            }
        }
        if (!handlers->onKey) continue;
        const auto handler = handlers->onKey;
        if (handler(event)) return true;
    }
    return false;
}

void Dispatcher::textComposed(const MarkedText& text) {
    const auto node = focus_.lock();
    const auto element = focus() ? node->element : nullptr;
    if (!element || !element->input()) return;
    element->input()->textComposed(*node, text);
    core.needDrawing();
}

std::optional<Rect> Dispatcher::textInputCaret() const {
    const auto* node = focus();
    const auto* input = node ? node->element->input() : nullptr;
    return input ? input->caret(*node) : std::nullopt;
}

bool Dispatcher::runFocusKeys(const KeyEvent& event) {
    const auto node = focus_.lock();
    const auto* handlers = node ? enabledHandlersOf(*node) : nullptr;
    if (!handlers || isChord(event.modifiers)) return false;
    const bool isPress = event.key == Key::space || event.key == Key::enter;
    if (isPress && handlers->onTap) return tap(*node);
    if (!handlers->menu || !(isPress || event.key == Key::down)) return false;
    openMenu(*node, false);
    return true;
}

bool Dispatcher::runWindowKeys(const KeyEvent& event) {
    if (isChord(event.modifiers)) return false;
    if (event.key == Key::tab) {
        moveFocus(event.modifiers.hasShift ? -1 : 1);
        return focus() != nullptr;
    }
    if (event.key == Key::left || event.key == Key::right) {
        const auto& at = focus() ? *focus() : core.root();
        const bool isMirrored = at.environment->direction == LayoutDirection::rightToLeft;
        const bool isForward = (event.key == Key::right) != isMirrored;
        const auto row = isForward ? chosenRowIn(at) : nullptr;
        if (!row) return focus() && moveFocusAmongSiblings(isForward ? 1 : -1);
        setFocus(row, true);
        reveal(*row);
        return true;
    }
    if (event.key == Key::enter) return runWindowAction(WindowAction::accept);
    if (event.key == Key::escape) return runWindowAction(WindowAction::cancel);
    return false;
}

bool Dispatcher::runWindowAction(WindowAction action) {
    for (const auto& node : allNodes(core.root())) {
        const auto* handlers = handlersOf(*node);
        if (!handlers || handlers->windowAction != action) continue;
        for (const auto& inside : allNodes(*node)) {
            const auto* button = enabledHandlersOf(*inside);
            if (button && button->isButton) return tap(*inside);
        }
    }
    return false;
}

void Dispatcher::moveFocus(int by) {
    Nodes order;
    for (const auto& node : allNodes(core.root())) {
        if (takesFocus(*node) && handlersOf(*node)->focus != Handlers::Focus::byPressAlone) {
            order.push_back(node);
        }
    }
    if (order.empty()) return;
    const auto count = static_cast<int>(order.size());
    const auto found = std::find(order.begin(), order.end(), focus_.lock());
    const int outside = by > 0 ? -1 : count;
    const int before = found == order.end() ? outside : static_cast<int>(found - order.begin());
    auto node = order[static_cast<std::size_t>((before + by + count) % count)];
    if (const auto row = by > 0 && focus() ? chosenRowIn(*focus()) : nullptr) node = row;
    setFocus(node, true);
    if (node->hasFocus && node->element->input()) node->element->input()->focusedByKeys(*node);
    reveal(*node);
}

bool Dispatcher::moveFocusAmongSiblings(int by) {
    const auto focused = focus_.lock();
    for (auto* around = focused->parent; around; around = around->parent) {
        auto group = allNodes(*around);
        std::erase_if(group, [](const auto& node) { return !takesFocus(*node); });
        if (group.size() < 2) continue;
        const auto next = std::find(group.begin(), group.end(), focused) - group.begin() + by;
        if (next < 0 || next >= static_cast<std::ptrdiff_t>(group.size())) return false;
        const auto node = group[static_cast<std::size_t>(next)];
        setFocus(node, true);
        reveal(*node);
        return true;
    }
    return false;
}

void Dispatcher::reveal(const Node& node) {
    // What comes next shows a little too, so that a list builds it.
    constexpr double margin = 12;
    double top = node.windowOrigin.y - margin;
    double bottom = node.windowOrigin.y + node.target.size.height + margin;
    for (auto* around = node.parent; around; around = around->parent) {
        const double low = around->windowOrigin.y;
        const double high = low + around->target.size.height;
        const double by = top < low ? top - low : std::max(0.0, bottom - high);
        if (by == 0 || !around->element->scroll(*around, by)) continue;
        core.needLayout();
        top -= by;
        bottom -= by;
    }
}

void Dispatcher::setFocus(const std::shared_ptr<Node>& node, bool isShown) {
    const auto before = focus_.lock();
    if (before != node || isFocusShown != isShown) core.needDrawing();
    isFocusShown = isShown && node;
    // One that has left the tree has left its binding behind.
    if (before == node && (node || !focusBinding)) return;
    focus_ = node;
    if (before) before->hasFocus = false;
    if (node) node->hasFocus = true;
    for (const auto& changed : {before, node}) {
        const auto* input = changed && changed->element ? changed->element->input() : nullptr;
        if (input) input->focusChanged(*changed);
    }
    const auto gained = focusBindingOf(node);
    const auto lost = std::exchange(focusBinding, gained);
    if (lost) lost->set(false);
    if (gained) gained->set(true);
}

const Node* Dispatcher::focus() const {
    const auto node = focus_.lock();
    return node && takesFocus(*node) ? node.get() : nullptr;
}

Cursor Dispatcher::cursor() const {
    for (const auto& weak : hovered) {
        const auto node = weak.lock();
        const auto* handlers = node ? handlersOf(*node) : nullptr;
        if (handlers && handlers->cursor) return *handlers->cursor;
    }
    return Cursor::arrow;
}

const Node* Dispatcher::helpNode() const {
    for (const auto& weak : hovered) {
        const auto node = weak.lock();
        const auto* handlers = node ? handlersOf(*node) : nullptr;
        if (handlers && !handlers->help.empty()) return node.get();
    }
    return nullptr;
}

std::shared_ptr<const Node> Dispatcher::alertNode() const {
    const auto node = alert.lock();
    return node && !node->isGone ? node : nullptr;
}

void Dispatcher::findAlert() {
    alert.reset();
    for (const auto& node : allNodes(core.root())) {
        const auto* handlers = handlersOf(*node);
        if (!handlers || !handlers->alert) continue;
        alert = node;
        return;
    }
}

void Dispatcher::followBindings() {
    for (const auto& node : allNodes(core.root())) {
        const auto* handlers = enabledHandlersOf(*node);
        if (!handlers || !handlers->isFocused) continue;
        const auto holder = focusOf(node);
        const bool hasFocus = holder == focus_.lock();
        if (handlers->isFocused->get() == hasFocus) continue;
        setFocus(hasFocus ? nullptr : holder, true);
        return;
    }
}

void Dispatcher::treeDidChange() {
    const auto node = focus_.lock();
    if (node ? !takesFocus(*node) : focusBinding.has_value()) setFocus(nullptr, false);
    followBindings();
    findAlert();
    updateHover();
}

}  // namespace vellumix::view
