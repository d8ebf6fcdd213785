#include "platform/view/tree/TreeCore.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/view/tree/TransitionElement.h"

namespace vellumix::view {

namespace {

class RootElement final : public Wrapper {
public:
    explicit RootElement(View content) : Wrapper(std::move(content)) {}
    const char* name() const override { return "Window"; }
};

bool isSameView(const Node& node, const ChildList::Entry& entry) {
    const auto& element = *entry.view.element();
    return node.position == entry.position && node.id == entry.id && node.element->type() == element.type();
}

}  // namespace

TreeCore::TreeCore(const View& root, TextSetter& texts, const Surface& surface)
    : texts(texts),
      surface_(surface),
      host(std::make_shared<const Node::Host>(
          Node::Host{.changed = [this](Node& node) { nodeChanged(node); },
                     .menuWanted = [this](const Node& node) { dispatcher_.openMenu(node, false); }})),
      root_(std::make_shared<Node>(nullptr, host)),
      dispatcher_(*this) {
    setRoot(root);
}

TreeCore::~TreeCore() { root_->leave(); }

void TreeCore::setRoot(const View& root) {
    rootView = View(std::make_shared<const RootElement>(root));
    root_->needsEvaluation = true;
    stale.push_back(root_);
    askForFrame(isStale);
}

void TreeCore::setSurface(const Surface& surface) {
    if (surface == surface_) return;
    surface_ = surface;
    setRoot(rootView);
    root_->invalidateLayout();
}

void TreeCore::askForFrame(bool& reason) {
    const bool isNews = !needsFrame();
    reason = true;
    // A copy, as the handler may put another in its place.
    if (const auto handler = onNeedsFrame_; isNews && handler && !isInFrame) handler();
}

void TreeCore::needLayout() { askForFrame(needsLayout); }
void TreeCore::needDrawing() { askForFrame(needsDrawing); }

bool TreeCore::needsFrame() const { return isStale || needsLayout || needsDrawing || isMoving; }

void TreeCore::nodeChanged(Node& node) {
    if (const auto& curve = currentAnimation(); curve && !isSettling) this->curve = curve;
    if (!node.needsEvaluation) {
        node.needsEvaluation = true;
        stale.push_back(node.weak_from_this());
    }
    askForFrame(isStale);
}

void TreeCore::openMenu(const MenuRequest& request) {
    if (const auto handler = onMenu_) handler(request);
}

Size TreeCore::fittingSize(double maximumWidth) {
    evaluateChanged();
    LayoutPass pass(*this, texts, surface_.scale, now, update);
    const auto width = std::isfinite(maximumWidth) ? std::optional(maximumWidth) : std::nullopt;
    return root_->measure({width, std::nullopt}, pass);
}

void TreeCore::evaluate(Node& node, const std::optional<Curve>& curve) {
    node.needsEvaluation = false;
    auto inner = node.environment;
    if (node.element->changesEnvironment()) {
        auto changed = *inner;
        node.element->environment(changed);
        inner = node.innerEnvironment && *node.innerEnvironment == changed
                    ? node.innerEnvironment
                    : std::make_shared<const Environment>(std::move(changed));
    }
    node.innerEnvironment = inner;
    // The old observations go after the new ones have been made, so that a list of observers that is read
    // again never falls empty.
    const auto outdated = std::exchange(node.observations, {});
    ChildList list;
    {
        const auto [value, size] = node.element->value();
        const Evaluation evaluation(value, size, node.states, node.weak_from_this(), *node.environment,
                                    node.observations);
        node.element->children(node, list);
    }
    build(node, list, curve);
    node.invalidateLayout();
}

void TreeCore::build(Node& node, const ChildList& list, const std::optional<Curve>& curve) {
    // Deeper than any window goes; a view that contains itself ends here.
    constexpr int deepest = 400;
    if (node.depth >= deepest) return;
    auto before = std::exchange(node.children, {});
    node.children.reserve(list.entries().size());
    std::vector<bool> isKept(before.size(), false);
    std::size_t next = 0;
    for (const auto& entry : list.entries()) {
        // Mostly they come in the same order as the last time.
        std::size_t found = before.size();
        for (std::size_t step = 0; step < before.size() && found == before.size(); ++step) {
            const auto at = (next + step) % before.size();
            if (!isKept[at] && isSameView(*before[at], entry)) found = at;
        }
        if (found < before.size()) {
            isKept[found] = true;
            next = found + 1;
            node.children.push_back(before[found]);
        } else {
            auto fresh = std::make_shared<Node>(&node, host);
            fresh->position = entry.position;
            fresh->id = entry.id;
            node.children.push_back(std::move(fresh));
        }
        describe(*node.children.back(), entry, curve);
    }
    for (std::size_t at = 0; at < before.size(); ++at) {
        if (!isKept[at]) remove(node, before[at], curve);
    }
}

void TreeCore::describe(Node& node, const ChildList::Entry& entry, const std::optional<Curve>& curve) {
    const bool isNew = !node.element;
    const auto& environment = node.parent->innerEnvironment;
    const auto& element = entry.view.element();
    const bool isSame = !isNew && (node.element == element || element->repeats(*node.element)) &&
                        node.environment &&
                        (node.environment == environment || *node.environment == *environment);
    if (isSame && !node.needsEvaluation) return;
    auto below = curve;
    if (!isNew) {
        if (const auto own = entry.view.element()->animation(*node.element); own && !isSettling) {
            below = own;
            node.ownCurve = std::make_unique<const Node::OwnCurve>(Node::OwnCurve{*own, update});
        }
        if (auto reaction = entry.view.element()->reaction(*node.element)) {
            reactions.push_back(std::move(reaction));
        }
    }
    node.element = entry.view.element();
    node.environment = environment;
    evaluate(node, below);
    if (isNew && curve) movesUntil = std::max(movesUntil, beginEntering(node, *curve, now));
}

void TreeCore::remove(Node& parent, const std::shared_ptr<Node>& child, const std::optional<Curve>& curve) {
    child->leave();
    const auto until = curve && !child->isParked ? beginLeaving(*child, *curve, now) : std::nullopt;
    if (!until) return;
    movesUntil = std::max(movesUntil, *until);
    parent.leaving.push_back(child);
}

void TreeCore::evaluateChanged() {
    auto stale = std::exchange(this->stale, {});
    isStale = false;
    std::vector<std::shared_ptr<Node>> nodes;
    for (const auto& weak : stale) {
        if (auto node = weak.lock()) nodes.push_back(std::move(node));
    }
    // From above, as a view is mostly described anew with the one around it.
    std::stable_sort(nodes.begin(), nodes.end(),
                     [](const auto& a, const auto& b) { return a->depth < b->depth; });
    for (const auto& node : nodes) {
        if (node->isGone || !node->needsEvaluation) continue;
        if (node == root_) {
            auto environment = std::make_shared<Environment>();
            environment->direction = surface_.direction;
            node->element = rootView.element();
            node->environment = std::move(environment);
        }
        evaluate(*node, curve);
        needsLayout = true;
    }
}

void TreeCore::layOut() {
    const Describing describing;
    needsLayout = false;
    LayoutPass pass(*this, texts, surface_.scale, now, update);
    pass.curve = curve;
    pass.viewport = {{}, surface_.size};
    root_->target = {{}, surface_.size};
    root_->frame.jump(root_->target);
    root_->element->place(*root_, {surface_.size.width, surface_.size.height}, pass);
    movesUntil = std::max(movesUntil, pass.movesUntil);
}

void TreeCore::record() {
    const Describing describing;
    needsDrawing = false;
    list.clear();
    Recorder recorder(list, {{}, surface_.size}, surface_.scale, now);
    recorder.hasKeyboard = hasKeyboard;
    recorder.focused = hasKeyboard ? dispatcher_.shownFocus() : nullptr;
    recorder.record(*root_, {});
    nextFrameAt_ = recorder.nextFrameAt();
    isMoving = movesUntil > now || recorder.isMoving;
}

void TreeCore::setHasKeyboard(bool hasKeyboard) {
    if (std::exchange(this->hasKeyboard, hasKeyboard) != hasKeyboard) needDrawing();
}

void TreeCore::settle() {
    isSettling = true;
    curve.reset();
}

const DrawingList& TreeCore::frame(double now) {
    if (isInFrame) return list;
    isInFrame = true;
    this->now = std::max(this->now, now);
    // What moves under a resting pointer changes what is hovered, and that changes views once more. Views
    // that would chase each other for ever go on in the next frame.
    constexpr int rounds = 4;
    for (int round = 0; round < rounds; ++round) {
        ++update;
        evaluateChanged();
        if (needsLayout) layOut();
        curve.reset();
        record();
        for (const auto& reaction : std::exchange(reactions, {})) reaction();
        dispatcher_.treeDidChange();
        if (!isStale && !needsLayout && !needsDrawing) break;
    }
    isInFrame = false;
    isSettling = false;
    return list;
}

}  // namespace vellumix::view
