#include "platform/view/tree/Node.h"

#include <algorithm>

namespace vellumix::view {

void Node::stateDidChange() {
    if (!isGone) host->changed(*this);
}

void Node::wantMenu() const {
    if (!isGone) host->menuWanted(*this);
}

void Node::leave() {
    isGone = true;
    states.clear();
    observations.clear();
    leaving.clear();
    for (const auto& child : children) child->leave();
}

void Node::invalidateLayout() {
    for (auto* node = this; node; node = node->parent) node->measured.clear();
}

bool Node::holdsState() const {
    return std::any_of(states.begin(), states.end(),
                       [](const auto& entry) { return !entry.second->isInitial(); }) ||
           std::any_of(children.begin(), children.end(),
                       [](const auto& child) { return child->holdsState(); });
}

Size Node::measure(const Proposal& proposal, LayoutPass& pass) {
    for (const auto& [given, size] : measured) {
        if (given == proposal) return size;
    }
    const auto size = element->measure(*this, proposal, pass);
    // A resized window asks for one new width after another.
    constexpr std::size_t kept = 32;
    if (measured.size() == kept) measured.erase(measured.begin());
    measured.emplace_back(proposal, size);
    return size;
}

}  // namespace vellumix::view
