#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/view/tree/Element.h"
#include "platform/view/values/Animation.h"
#include "platform/view/values/Evaluation.h"

namespace vellumix::view {

/// What an element keeps in its node.
struct NodeData {
    virtual ~NodeData() = default;
};

/// A view that is there: the present description under a lasting identity, with its states, its children, and
/// where layout put it. Owned by its parent; gone when it has left the tree, though others may still hold it.
class Node final : public StateOwner, public std::enable_shared_from_this<Node> {
public:
    /// What the tree does for its nodes.
    struct Host {
        std::function<void(Node&)> changed;
        std::function<void(const Node&)> menuWanted;
    };

    Node(Node* parentNode, std::shared_ptr<const Host> host)
        : parent(parentNode), depth(parentNode ? parentNode->depth + 1 : 0), host(std::move(host)) {}

    void stateDidChange() override;
    /// Opens the menu that its handlers have.
    void wantMenu() const;
    /// Leaves the tree with everything below: its states and observations end.
    void leave();
    /// What it and those above measured doesn't hold any more.
    void invalidateLayout();
    /// Whether a state in here holds something that would be missed.
    bool holdsState() const;

    template <class Data>
    Data& data() {
        if (!data_) data_ = std::make_unique<Data>();
        return static_cast<Data&>(*data_);
    }
    template <class Data>
    const Data* dataIfAny() const {
        return static_cast<const Data*>(data_.get());
    }

    Size measure(const Proposal& proposal, LayoutPass& pass);

    Node* parent;
    int depth;
    std::size_t position = 0;
    std::string id;
    std::shared_ptr<const Element> element;
    std::shared_ptr<const Environment> environment;
    /// What the children get.
    std::shared_ptr<const Environment> innerEnvironment;
    std::vector<std::shared_ptr<Node>> children;
    /// Views that have been removed and are on their way out.
    std::vector<std::shared_ptr<Node>> leaving;
    StateStorages states;
    std::vector<Observation> observations;
    bool needsEvaluation = false;
    bool isGone = false;
    bool hasFocus = false;
    /// The pointer holds it down.
    bool isPressed = false;
    /// There for its states alone: neither placed nor drawn.
    bool isParked = false;
    /// The curve of what changes below in the update with this number; null where no update had one.
    struct OwnCurve {
        Curve curve;
        int update;
    };
    std::unique_ptr<const OwnCurve> ownCurve;

    /// Where layout put it: in its parent, and in the window.
    Rect target;
    Point windowOrigin;
    Animated<Rect> frame;
    /// Where it was drawn last, in the window: as it is, and what no clip hid.
    Point drawnOrigin;
    Rect drawn;
    Rect visible;
    bool isOutOfSight = true;

private:
    std::shared_ptr<const Host> host;
    std::unique_ptr<NodeData> data_;
    std::vector<std::pair<Proposal, Size>> measured;
};

}  // namespace vellumix::view
