#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/view/tree/Dispatcher.h"
#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/tree/ViewTree.h"

namespace vellumix::view {

/// Keeps the nodes in step with the views: evaluation, layout, recording.
class TreeCore final : public Builder {
public:
    TreeCore(const View& root, TextSetter& texts, const Surface& surface);
    ~TreeCore() override;
    TreeCore(const TreeCore&) = delete;
    TreeCore& operator=(const TreeCore&) = delete;

    void setRoot(const View& root);
    void setSurface(const Surface& surface);
    const DrawingList& frame(double now);
    void settle();
    void setHasKeyboard(bool hasKeyboard);
    bool needsFrame() const;
    std::optional<double> nextFrameAt() const { return nextFrameAt_; }
    void onNeedsFrame(std::function<void()> handler) { onNeedsFrame_ = std::move(handler); }
    void onMenu(std::function<void(const MenuRequest&)> handler) { onMenu_ = std::move(handler); }
    void openMenu(const MenuRequest& request);
    Size fittingSize(double maximumWidth);
    /// The next frame lays out anew, or at least draws anew.
    void needLayout();
    void needDrawing();

    void build(Node& node, const ChildList& list, const std::optional<Curve>& curve) override;

    Node& root() { return *root_; }
    const Surface& surface() const { return surface_; }
    Dispatcher& dispatcher() { return dispatcher_; }

private:
    void nodeChanged(Node& node);
    void askForFrame(bool& reason);
    void evaluate(Node& node, const std::optional<Curve>& curve);
    void describe(Node& node, const ChildList::Entry& entry, const std::optional<Curve>& curve);
    void remove(Node& parent, const std::shared_ptr<Node>& child, const std::optional<Curve>& curve);
    void evaluateChanged();
    void layOut();
    void record();

    View rootView;
    TextSetter& texts;
    Surface surface_;
    std::shared_ptr<const Node::Host> host;
    std::shared_ptr<Node> root_;
    Dispatcher dispatcher_;
    DrawingList list;
    std::vector<std::weak_ptr<Node>> stale;
    std::vector<Action> reactions;
    std::optional<Curve> curve;
    std::function<void()> onNeedsFrame_;
    std::function<void(const MenuRequest&)> onMenu_;
    double now = 0;
    std::optional<double> nextFrameAt_;
    double movesUntil = 0;
    int update = 0;
    bool isStale = true;
    bool needsLayout = true;
    bool needsDrawing = true;
    bool isMoving = false;
    bool isInFrame = false;
    bool isSettling = false;
    bool hasKeyboard = true;
};

}  // namespace vellumix::view
