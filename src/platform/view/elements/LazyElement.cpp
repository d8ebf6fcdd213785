#include <algorithm>
#include <unordered_map>

#include "platform/view/tree/LayoutPass.h"
#include "platform/view/values/Views.h"

namespace vellumix::view {

namespace {

class LazyElement final : public Element {
public:
    LazyElement(Spacing spacing, RowSource source) : spacing(spacing.points), source(std::move(source)) {}
    const char* name() const override { return "LazyVStack"; }

    /// The rows that were in sight stay until layout has chosen anew.
    void children(Node& node, ChildList& list) const override {
        auto& data = node.data<Data>();
        std::unordered_map<std::string, double> known;
        for (std::size_t at = 0; at < data.heights.size(); ++at) {
            if (data.heights[at] >= 0) known.emplace(std::move(data.ids[at]), data.heights[at]);
        }
        data.ids.resize(source.count);
        data.heights.assign(source.count, unknown);
        std::unordered_map<std::string, std::size_t> places;
        for (std::size_t at = 0; at < source.count; ++at) {
            data.ids[at] = source.id(at);
            if (const auto found = known.find(data.ids[at]); found != known.end()) {
                data.heights[at] = found->second;
            }
        }
        std::erase_if(data.away, [&](const auto& away) {
            return std::find(data.ids.begin(), data.ids.end(), away) == data.ids.end();
        });
        std::vector<std::string> wanted = data.away;
        for (const auto& child : node.children) wanted.push_back(child->id);
        if (wanted.empty()) return;
        for (std::size_t at = 0; at < source.count; ++at) places.emplace(data.ids[at], at);
        std::vector<std::size_t> kept;
        for (const auto& id : wanted) {
            if (const auto found = places.find(id); found != places.end()) kept.push_back(found->second);
        }
        addRows(data, kept, list, [this](std::size_t at) { return source.row(at); });
    }

    Size measure(Node& node, const Proposal& proposal, LayoutPass&) const override {
        const auto& data = node.data<Data>();
        double height = 0;
        const double guess = data.guess();
        for (const double one : data.heights) height += one >= 0 ? one : guess;
        if (!data.heights.empty()) height += spacing * static_cast<double>(data.heights.size() - 1);
        return {proposal.width.value_or(data.width), height};
    }

    void place(Node& node, const Proposal& proposal, LayoutPass& pass) const override {
        auto& data = node.data<Data>();
        const double width = proposal.width.value_or(data.width);
        if (width != data.width) {
            std::fill(data.heights.begin(), data.heights.end(), unknown);
            data.width = width;
        }
        const double top = pass.viewport.minY() - node.windowOrigin.y;
        const double bottom = pass.viewport.maxY() - node.windowOrigin.y;
        const double before = measure(node, proposal, pass).height;
        const double guess = data.guess();
        const Proposal row{width, std::nullopt};

        std::vector<std::size_t> inSight;
        double y = 0;
        for (std::size_t at = 0; at < data.heights.size() && y < bottom; ++at) {
            const double height = data.heights[at] >= 0 ? data.heights[at] : guess;
            if (y + height > top) inSight.push_back(at);
            y += height + spacing;
        }
        build(node, data, inSight, pass);

        const auto anchor = anchorOf(data, inSight);
        const double anchorWas = topOf(data, anchor, guess);
        for (const auto& child : node.children) {
            const auto at = placeOf(data, inSight, child->id);
            child->isParked = !at;
            if (at) data.heights[*at] = child->measure(row, pass).height;
        }
        const double after = data.guess();
        for (const auto& child : node.children) {
            const auto at = placeOf(data, inSight, child->id);
            if (at) pass.place(node, *child, {0, topOf(data, *at, after)}, row);
        }
        if (measure(node, proposal, pass).height != before) node.invalidateLayout();
        // What is seen stays where it is, though rows above it turn out higher or lower than was guessed.
        pass.shift += topOf(data, anchor, after) - anchorWas;
    }

    void describe(const Node& node, std::vector<SemanticNode>& into) const override {
        SemanticNode list;
        list.role = Role::list;
        list.frame = node.visible;
        Element::describe(node, list.children);
        into.push_back(std::move(list));
    }

    std::optional<std::pair<double, double>> locate(const Node& node, const std::string& id) const override {
        const auto* data = node.dataIfAny<Data>();
        if (!data) return std::nullopt;
        const auto found = std::find(data->ids.begin(), data->ids.end(), id);
        if (found == data->ids.end()) return std::nullopt;
        const auto at = static_cast<std::size_t>(found - data->ids.begin());
        const double guess = data->guess();
        const double top = topOf(*data, at, guess);
        return std::pair{top, top + (data->heights[at] >= 0 ? data->heights[at] : guess)};
    }

private:
    static constexpr double unknown = -1;

    struct Data final : NodeData {
        std::vector<std::string> ids;
        std::vector<double> heights;
        double width = 0;
        /// Rows out of sight that hold a state.
        std::vector<std::string> away;

        /// The height of a row that hasn't been seen.
        double guess() const {
            double sum = 0;
            int count = 0;
            for (const double one : heights) {
                if (one < 0) continue;
                sum += one;
                ++count;
            }
            constexpr double first = 44;
            return count > 0 ? sum / count : first;
        }
    };

    double topOf(const Data& data, std::size_t row, double guess) const {
        double y = 0;
        for (std::size_t at = 0; at < row; ++at) {
            y += (data.heights[at] >= 0 ? data.heights[at] : guess) + spacing;
        }
        return y;
    }

    /// The first row in sight that has been seen before, or else the first.
    static std::size_t anchorOf(const Data& data, const std::vector<std::size_t>& inSight) {
        for (const auto at : inSight) {
            if (data.heights[at] >= 0) return at;
        }
        return inSight.empty() ? 0 : inSight.front();
    }

    static std::optional<std::size_t> placeOf(const Data& data, const std::vector<std::size_t>& rows,
                                              const std::string& id) {
        for (const auto at : rows) {
            if (data.ids[at] == id) return at;
        }
        return std::nullopt;
    }

    static void addRows(const Data& data, const std::vector<std::size_t>& rows, ChildList& list,
                        const std::function<View(std::size_t)>& row) {
        list.add(View(std::make_shared<const RowsElement>(
            RowSource{rows.size(), [&](std::size_t at) { return data.ids[rows[at]]; },
                      [&](std::size_t at) { return row(rows[at]); }})));
    }

    /// Hands rows to a list of children, which asks for them at once.
    class RowsElement final : public Element {
    public:
        explicit RowsElement(RowSource source) : rows_(std::move(source)) {}
        const char* name() const override { return "Rows"; }
        const RowSource* rows() const override { return &rows_; }

    private:
        RowSource rows_;
    };

    void build(Node& node, Data& data, const std::vector<std::size_t>& inSight, LayoutPass& pass) const {
        std::vector<std::size_t> wanted = inSight;
        data.away.clear();
        for (const auto& child : node.children) {
            if (placeOf(data, inSight, child->id) || !child->holdsState()) continue;
            const auto found = std::find(data.ids.begin(), data.ids.end(), child->id);
            if (found == data.ids.end()) continue;
            wanted.push_back(static_cast<std::size_t>(found - data.ids.begin()));
            data.away.push_back(child->id);
        }
        const bool isSame =
            wanted.size() == node.children.size() &&
            std::equal(wanted.begin(), wanted.end(), node.children.begin(),
                       [&](std::size_t at, const auto& child) { return data.ids[at] == child->id; });
        if (isSame) return;
        ChildList list;
        addRows(data, wanted, list, [&](std::size_t at) {
            const auto built = std::find_if(node.children.begin(), node.children.end(),
                                            [&](const auto& child) { return child->id == data.ids[at]; });
            return built == node.children.end() ? source.row(at) : View((*built)->element);
        });
        // A row that scrolls in or out isn't inserted or removed, so it has no transition.
        pass.builder.build(node, list, std::nullopt);
    }

    double spacing;
    RowSource source;
};

}  // namespace

LazyVStack::LazyVStack(Spacing spacing, RowSource rows)
    : View(std::make_shared<const LazyElement>(spacing, std::move(rows))) {}

}  // namespace vellumix::view
