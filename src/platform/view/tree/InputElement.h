#pragma once

#include <optional>

#include "platform/desktop/Event.h"
#include "platform/view/tree/Element.h"

namespace vellumix::view {

/// A view that takes the pointer and the keys by itself, and keeps what comes of it in its node. Its handlers
/// say how it gets the focus. It is drawn anew after each of these.
class InputElement : public Element {
public:
    const InputElement* input() const override { return this; }

    /// Whether text can be written in it, so that a focus that is bound right around it is its own.
    virtual bool isTextField() const { return false; }
    /// A press of the primary button on it, and where the pointer goes, in or out of it, until the release.
    virtual void pointerPressed(Node& node, const PointerPress& press) const = 0;
    virtual void pointerDragged(Node& node, Point at) const = 0;
    virtual void pointerReleased(Node& node) const = 0;
    /// While it has the focus. Whether it had a use for the key.
    virtual bool keyPressed(Node& node, const KeyEvent& event) const = 0;
    virtual void textComposed(Node&, const MarkedText&) const {}
    /// Where its caret was drawn, in the window, if it takes text.
    virtual std::optional<Rect> caret(const Node&) const { return std::nullopt; }
    /// The node has got the focus, or lost it.
    virtual void focusChanged(Node&) const {}
    /// It was the tab key that brought the focus.
    virtual void focusedByKeys(Node&) const {}
};

}  // namespace vellumix::view
