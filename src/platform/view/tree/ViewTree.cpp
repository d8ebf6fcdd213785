#include "platform/view/tree/ViewTree.h"

#include "platform/foundation/promises/MainThread.h"
#include "platform/view/tree/TreeCore.h"
#include "platform/view/tree/TreeDump.h"

namespace vellumix::view {

namespace {

/// Each event holds the core, as what it sets off may destroy the tree.
std::shared_ptr<TreeCore> held(const std::shared_ptr<TreeCore>& core) {
    assertMainThread();
    return core;
}

}  // namespace

ViewTree::ViewTree(const View& root, TextSetter& texts, const Surface& surface)
    : core(std::make_shared<TreeCore>(root, texts, surface)) {}
ViewTree::ViewTree(ViewTree&&) noexcept = default;
ViewTree& ViewTree::operator=(ViewTree&&) noexcept = default;
ViewTree::~ViewTree() = default;

void ViewTree::setRoot(const View& root) {
    const auto core = held(this->core);
    core->setRoot(root);
}
void ViewTree::setSurface(const Surface& surface) {
    const auto core = held(this->core);
    core->setSurface(surface);
}
const DrawingList& ViewTree::frame(double now) {
    const auto core = held(this->core);
    return core->frame(now);
}
void ViewTree::settle() { core->settle(); }
void ViewTree::setHasKeyboard(bool hasKeyboard) {
    const auto core = held(this->core);
    core->setHasKeyboard(hasKeyboard);
}
bool ViewTree::needsFrame() const { return core->needsFrame(); }
std::optional<double> ViewTree::nextFrameAt() const { return core->nextFrameAt(); }
void ViewTree::onNeedsFrame(std::function<void()> handler) { core->onNeedsFrame(std::move(handler)); }
void ViewTree::onMenu(std::function<void(const MenuRequest&)> handler) { core->onMenu(std::move(handler)); }
Size ViewTree::fittingSize(double maximumWidth) { return core->fittingSize(maximumWidth); }

void ViewTree::pointerMoved(Point at) {
    const auto core = held(this->core);
    core->dispatcher().pointerMoved(at);
}
void ViewTree::pointerLeft() {
    const auto core = held(this->core);
    core->dispatcher().pointerMoved(std::nullopt);
}
void ViewTree::pointerPressed(const PointerPress& press) {
    const auto core = held(this->core);
    core->dispatcher().pointerPressed(press);
}
void ViewTree::pointerReleased(Point at, PointerButton button) {
    const auto core = held(this->core);
    core->dispatcher().pointerReleased(at, button);
}
void ViewTree::scrolled(Point at, double by) {
    const auto core = held(this->core);
    core->dispatcher().scrolled(at, by);
}
bool ViewTree::keyPressed(const KeyEvent& event) {
    const auto core = held(this->core);
    return core->dispatcher().keyPressed(event);
}
bool ViewTree::takesPress(Point at) const { return core->dispatcher().takesPress(at); }
void ViewTree::textComposed(const MarkedText& text) {
    const auto core = held(this->core);
    core->dispatcher().textComposed(text);
}
std::optional<Rect> ViewTree::textInputCaret() const { return core->dispatcher().textInputCaret(); }
void ViewTree::focusNext() {
    const auto core = held(this->core);
    core->dispatcher().moveFocus(1);
}
void ViewTree::focusPrevious() {
    const auto core = held(this->core);
    core->dispatcher().moveFocus(-1);
}
void ViewTree::clearFocus() {
    const auto core = held(this->core);
    core->dispatcher().setFocus(nullptr, false);
}

Cursor ViewTree::cursor() const { return core->dispatcher().cursor(); }

std::optional<ViewTree::Help> ViewTree::help() const {
    const auto* node = core->dispatcher().helpNode();
    if (!node) return std::nullopt;
    return Help{node->element->handlers()->help, node->visible, controlPalette(*node->environment)};
}

std::optional<AlertRequest> ViewTree::alert() const {
    const auto node = core->dispatcher().alertNode();
    const auto* handlers = node ? node->element->handlers() : nullptr;
    if (!handlers || !handlers->alert || !handlers->alert->isPresented.get()) return std::nullopt;
    auto request = *handlers->alert;
    request.palette = controlPalette(*node->environment);
    request.source = node;
    return request;
}

SemanticNode ViewTree::semantics() const {
    SemanticNode window;
    window.role = Role::group;
    window.frame = {{}, core->surface().size};
    auto& root = core->root();
    if (root.element) root.element->describe(root, window.children);
    return window;
}

std::string ViewTree::layoutDump() const { return layoutText(core->root()); }
std::string ViewTree::semanticsDump() const { return semanticsText(semantics()); }

}  // namespace vellumix::view
