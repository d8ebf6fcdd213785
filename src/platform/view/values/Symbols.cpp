#include "platform/view/values/Symbols.h"

#include <algorithm>

#include "platform/foundation/text/MissingResources.h"

namespace vellumix::view {

std::span<const SymbolOutline> symbolOutlines(std::string_view name) {
    const auto entry = std::ranges::lower_bound(symbolTable, name, {}, &SymbolEntry::name);
    if (entry != symbolTable.end() && entry->name == name) return entry->outlines;
    reportMissing("symbol", name);
    return {};
}

double symbolStrokeWidth(Font::Weight weight, double side) {
    constexpr double largest = 0.7;  // of the width at text sizes
    constexpr double textSide = 24;
    constexpr double displaySide = 48;
    const double toDisplay = std::clamp((side - textSide) / (displaySide - textSide), 0.0, 1.0);
    const double optical = 1 - toDisplay * (1 - largest);
    switch (weight) {
        case Font::Weight::thin:
            return 1.25 * optical;
        case Font::Weight::regular:
            return 1.75 * optical;
        case Font::Weight::medium:
            return 2.0 * optical;
        case Font::Weight::semibold:
            return 2.3 * optical;
        case Font::Weight::bold:
            return 2.6 * optical;
    }
    return 2.0;
}

}  // namespace vellumix::view
