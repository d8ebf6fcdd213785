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
    std::optional<double> nextFrameAt() const { return _nextFrameAt; }
    void onNeedsFrame(std::function<void()> handler) { _onNeedsFrame = std::move(handler); }
    void onMenu(std::function<void(const MenuRequest&)> handler) { _onMenu = std::move(handler); }
    void openMenu(const MenuRequest& request);
    Size fittingSize(double maximumWidth);
    /// The next frame lays out anew, or at least draws anew.
    void needLayout();
    void needDrawing();

    void build(Node& node, const ChildList& list, const std::optional<Curve>& curve) override;

    Node& root() { return *_root; }
    const Surface& surface() const { return _surface; }
    Dispatcher& dispatcher() { return _dispatcher; }

private:
    void nodeChanged(Node& node);
    void askForFrame(bool& reason);
    void evaluate(Node& node, const std::optional<Curve>& curve);
    void describe(Node& node, const ChildList::Entry& entry, const std::optional<Curve>& curve);
    void remove(Node& parent, const std::shared_ptr<Node>& child, const std::optional<Curve>& curve);
    void evaluateChanged();
    void layOut();
    void record();

    View _rootView;
    TextSetter& _texts;
    Surface _surface;
    std::shared_ptr<const Node::Host> _host;
    std::shared_ptr<Node> _root;
    Dispatcher _dispatcher;
    DrawingList _list;
    std::vector<std::weak_ptr<Node>> _stale;
    std::vector<Action> _reactions;
    std::optional<Curve> _curve;
    std::function<void()> _onNeedsFrame;
    std::function<void(const MenuRequest&)> _onMenu;
    double _now = 0;
    std::optional<double> _nextFrameAt;
    double _movesUntil = 0;
    int _update = 0;
    bool _isStale = true;
    bool _needsLayout = true;
    bool _needsDrawing = true;
    bool _isMoving = false;
    bool _isInFrame = false;
    bool _isSettling = false;
    bool _hasKeyboard = true;
};

}  // namespace vellumix::view
