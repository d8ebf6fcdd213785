#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/view/tree/Handlers.h"
#include "platform/view/tree/Node.h"

namespace vellumix::view {

class TreeCore;

/// Takes a window's events to the views: by what is under the pointer, and by the focus.
///
/// A handler may do anything, so that nothing is remembered over a call but by a weak or shared pointer.
class Dispatcher {
public:
    explicit Dispatcher(TreeCore& core) : core(core) {}

    void pointerMoved(std::optional<Point> at);
    void pointerPressed(const PointerPress& press);
    void pointerReleased(Point at, PointerButton button);
    void scrolled(Point at, double by);
    bool keyPressed(const KeyEvent& event);
    bool takesPress(Point at) const;
    /// `isPressed` says that the button of the pointer is down.
    void openMenu(const Node& node, bool isPressed);
    void textComposed(const MarkedText& text);
    std::optional<Rect> textInputCaret() const;
    void moveFocus(int by);
    void setFocus(const std::shared_ptr<Node>& node, bool isShown);

    Cursor cursor() const;
    const Node* helpNode() const;
    const Node* focus() const;
    /// The first view with an alert, as of the last frame.
    std::shared_ptr<const Node> alertNode() const;
    /// The view with the focus, if the focus is to be seen.
    const Node* shownFocus() const { return isFocusShown ? focus() : nullptr; }
    /// After a frame: the pointer may be over something else, and the focus may be gone or wanted.
    void treeDidChange();

private:
    using Nodes = std::vector<std::shared_ptr<Node>>;

    /// What lies under a point, from the innermost view outwards.
    Nodes pathAt(Point at) const;
    static Nodes pathFrom(Node* innermost);
    void updateHover();
    std::shared_ptr<Node> dragged() const;
    /// Whether the pressed view looks so: the pointer must be over it too.
    void updatePressed(bool isHeld);
    /// Scrolls what is around a view so that it can be seen.
    void reveal(const Node& node);
    bool moveFocusAmongSiblings(int by);
    bool runKeyHandlers(const KeyEvent& event);
    /// What the view with the focus does itself, before any handler around it.
    bool runFocusKeys(const KeyEvent& event);
    bool runWindowKeys(const KeyEvent& event);
    bool runWindowAction(WindowAction action);
    void followBindings();
    void findAlert();

    TreeCore& core;
    std::optional<Point> pointer;
    std::vector<std::weak_ptr<Node>> hovered;
    /// Those that were told so, outermost first, with how to tell them that it is over.
    struct Told {
        std::weak_ptr<Node> node;
        std::function<void(bool)> tell;
    };
    std::vector<Told> told;
    std::weak_ptr<Node> pressed;
    /// The view that took the press, and gets the pointer until its release.
    std::weak_ptr<Node> dragged_;
    std::weak_ptr<Node> focus_;
    /// Of the node with the focus, and of one that has left the tree with it.
    std::optional<Binding<bool>> focusBinding;
    std::weak_ptr<Node> alert;
    bool isFocusShown = false;
};

/// Every view of a tree in the order of drawing, those around before those inside.
std::vector<std::shared_ptr<Node>> allNodes(Node& root);

}  // namespace vellumix::view
