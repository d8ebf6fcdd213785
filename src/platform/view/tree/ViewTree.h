#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/view/values/Presentation.h"
#include "platform/view/values/View.h"

namespace vellumix::view {

class TreeCore;

/// What a tree of views is laid out on.
struct Surface {
    /// In points.
    Size size;
    /// Device pixels a point.
    double scale = 1;
    LayoutDirection direction = LayoutDirection::leftToRight;

    friend bool operator==(const Surface&, const Surface&) = default;
};

/// The content of one window: keeps the states of the views, lays them out, says what to draw, and takes the
/// window's events. It never looks at a clock: time comes with `frame`, in seconds from any moment.
///
/// Main thread only. Events are told in the coordinates of the last frame. What a handler or a state does,
/// even to the tree itself, is safe; what it changes shows in the next frame.
class ViewTree {
public:
    /// The setter must outlive the tree.
    ViewTree(const View& root, TextSetter& texts, const Surface& surface);
    ViewTree(ViewTree&&) noexcept;
    ViewTree& operator=(ViewTree&&) noexcept;
    ~ViewTree();

    void setRoot(const View& root);
    void setSurface(const Surface& surface);

    /// Evaluates what has changed, lays it out and records it as it looks at this moment. `now` never goes
    /// back. The list lives until the next call.
    const DrawingList& frame(double now);
    /// In the next frame nothing moves that has changed since the last, as nobody saw where it was.
    void settle();
    /// While the window doesn't have the keyboard, as it has until this tells, no caret and no focus shows.
    void setHasKeyboard(bool hasKeyboard);
    /// Whether a frame would differ from the last: something has changed, or moves.
    bool needsFrame() const;
    /// When a frame will differ from the last though nothing happens, as a caret blinks: a moment of the
    /// clock of `frame`. Nothing while it never will.
    std::optional<double> nextFrameAt() const;
    /// Called once whenever `needsFrame` turns true by something other than a frame.
    void onNeedsFrame(std::function<void()> handler);
    /// Called when a view wants its menu opened. Without a handler, none opens.
    void onMenu(std::function<void(const MenuRequest&)> handler);
    /// The room that the root takes where it is offered this width and any height; `unbounded` lets it
    /// choose.
    Size fittingSize(double maximumWidth = unbounded);

    void pointerMoved(Point at);
    void pointerLeft();
    void pointerPressed(const PointerPress& press);
    void pointerReleased(Point at, PointerButton button = PointerButton::primary);
    /// Scrolls what is under the pointer by that many points towards its end.
    void scrolled(Point at, double by);
    /// Whether a view, or the window's own keys (tab, space, enter, escape), had a use for it.
    bool keyPressed(const KeyEvent& event);
    /// Whether a view there has a use for a press of the primary button.
    bool takesPress(Point at) const;
    /// What an input method is composing in the text field that has the focus.
    void textComposed(const MarkedText& text);
    /// Where the caret of that field was drawn, in the window; nothing while no field has the focus.
    std::optional<Rect> textInputCaret() const;
    void focusNext();
    void focusPrevious();
    void clearFocus();

    /// The innermost cursor wanted under the pointer.
    Cursor cursor() const;
    /// The help text under the pointer, and the box that it is about.
    struct Help {
        String text;
        Rect about;
        ControlPalette palette;

        friend bool operator==(const Help&, const Help&) = default;
    };
    std::optional<Help> help() const;
    /// The alert that a view wants shown, as of the last frame.
    std::optional<AlertRequest> alert() const;

    /// The window as a group of all that can be seen in it, as of the last frame.
    SemanticNode semantics() const;
    /// One line for each view: its kind, id, and box, indented by depth.
    std::string layoutDump() const;
    /// One line for each semantic node: role, label, value, states.
    std::string semanticsDump() const;

private:
    std::shared_ptr<TreeCore> core;
};

}  // namespace vellumix::view
