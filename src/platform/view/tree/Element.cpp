#include "platform/view/tree/Element.h"

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/tree/Recorder.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

/// A user's view: its one child is what its body says.
class CompositeElement final : public Element {
public:
    explicit CompositeElement(std::shared_ptr<const AnyBody> body) : body(std::move(body)) {}
    const char* name() const override { return "View"; }
    const std::type_info& type() const override { return body->type(); }
    std::pair<const void*, std::size_t> value() const override { return body->value(); }
    void children(Node&, ChildList& list) const override { list.add(body->body()); }

private:
    std::shared_ptr<const AnyBody> body;
};

}  // namespace

View viewOf(std::shared_ptr<const AnyBody> body) {
    return View(std::make_shared<const CompositeElement>(std::move(body)));
}

void ChildList::add(const View& view) {
    const auto position = this->position++;
    if (view.isEmpty()) return;
    if (const auto* rows = view.element()->rows()) {
        for (std::size_t at = 0; at < rows->count; ++at) {
            if (auto row = rows->row(at); !row.isEmpty()) entries_.push_back({position, rows->id(at), row});
        }
        return;
    }
    auto id = view.element()->explicitId();
    // With an id of its own, a view may move among its siblings.
    const auto place = id.empty() ? position : static_cast<std::size_t>(-1);
    entries_.push_back({place, std::move(id), view});
}

Size Element::measure(Node& node, const Proposal& proposal, LayoutPass& pass) const {
    return node.children.empty() ? Size() : node.children.front()->measure(proposal, pass);
}

void Element::place(Node& node, const Proposal& proposal, LayoutPass& pass) const {
    if (!node.children.empty()) pass.place(node, *node.children.front(), {}, proposal);
}

double Element::layoutPriority(const Node& node) const {
    return node.children.size() == 1 ? node.children.front()->element->layoutPriority(*node.children.front())
                                     : 0;
}

void Element::record(Node& node, Recorder& recorder) const { recorder.recordChildren(node); }

void Element::describe(const Node& node, std::vector<SemanticNode>& into) const {
    for (const auto& child : node.children) {
        if (!child->isOutOfSight) child->element->describe(*child, into);
    }
}

std::optional<std::pair<double, double>> Element::locate(const Node& node, const std::string& id) const {
    for (const auto& child : node.children) {
        if (child->id == id) return std::pair{child->target.minY(), child->target.maxY()};
        if (const auto found = child->element->locate(*child, id)) {
            return std::pair{found->first + child->target.minY(), found->second + child->target.minY()};
        }
    }
    return std::nullopt;
}

}  // namespace vellumix::view
