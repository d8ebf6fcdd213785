#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "platform/desktop/Geometry.h"
#include "platform/view/values/Curve.h"
#include "platform/view/values/View.h"

namespace vellumix::view {

class LayoutPass;
class Node;
class Recorder;
struct Handlers;
class InputElement;
struct RowSource;

/// What a parent offers a child. Nothing asks for the child's own choice, `unbounded` for the most it would
/// take.
struct Proposal {
    std::optional<double> width;
    std::optional<double> height;

    friend bool operator==(const Proposal&, const Proposal&) = default;
};

/// A text as it was drawn last.
struct SetText {
    String text;
    std::shared_ptr<const TextLayout> layout;
    /// Of the layout, in the window.
    Point origin;
};

/// The views under a view, with what tells each from the others when they are described again.
class ChildList {
public:
    struct Entry {
        std::size_t position = 0;
        std::string id;
        View view;
    };

    /// An empty view takes its position and nothing else. The rows of a `ForEach` are added one by one.
    void add(const View& view);
    const std::vector<Entry>& entries() const { return entries_; }

private:
    std::vector<Entry> entries_;
    std::size_t position = 0;
};

/// A description of a view, shared by all copies and never changed. What a view keeps from frame to frame is
/// in its `Node`. As it stands here, an element is as its one child, or takes no room.
class Element {
public:
    virtual ~Element() = default;

    /// For the text dump.
    virtual const char* name() const = 0;
    /// Two descriptions of different types are never of the same view.
    virtual const std::type_info& type() const { return typeid(*this); }
    /// Whether it describes what the one before did, so that nothing below has to be described again.
    virtual bool repeats(const Element&) const { return false; }
    /// The user's struct, for its states.
    virtual std::pair<const void*, std::size_t> value() const { return {nullptr, 0}; }
    virtual std::string explicitId() const { return {}; }
    /// The rows that stand for it in a stack.
    virtual const RowSource* rows() const { return nullptr; }
    virtual void children(Node&, ChildList&) const {}
    /// Whether `environment` would do anything.
    virtual bool changesEnvironment() const { return false; }
    virtual void environment(Environment&) const {}
    /// The curve of what changes below, given the description before this one.
    virtual std::optional<Curve> animation(const Element&) const { return std::nullopt; }
    /// What is to be done as this description comes in place of the one before.
    virtual Action reaction(const Element&) const { return nullptr; }

    virtual Size measure(Node& node, const Proposal& proposal, LayoutPass& pass) const;
    /// Places the children; `proposal` is the one that gave the node its size.
    virtual void place(Node& node, const Proposal& proposal, LayoutPass& pass) const;
    virtual double layoutPriority(const Node& node) const;
    virtual void record(Node& node, Recorder& recorder) const;

    /// Whether the pointer meets it where none of its children is.
    virtual bool isSolid() const { return false; }
    virtual const Handlers* handlers() const { return nullptr; }
    /// Itself, where it takes the pointer and the keys with what it keeps in its node.
    virtual const InputElement* input() const { return nullptr; }
    /// The text that it shows, if it is one.
    virtual std::optional<SetText> setText(const Node&) const { return std::nullopt; }
    /// Moves the content by that many points down; returns whether any of it could be moved.
    virtual bool scroll(Node&, double) const { return false; }
    virtual void describe(const Node& node, std::vector<SemanticNode>& into) const;
    /// The vertical place of a view with an explicit id, from the top of the node.
    virtual std::optional<std::pair<double, double>> locate(const Node& node, const std::string& id) const;
};

/// A view around one other.
class Wrapper : public Element {
public:
    explicit Wrapper(View content) : content(std::move(content)) {}
    void children(Node&, ChildList& list) const override { list.add(content); }

private:
    View content;
};

}  // namespace vellumix::view
