#include "platform/view/values/Symbols.h"

#include <algorithm>
#include <array>

#include "platform/view/values/SymbolSources.h"

namespace vellumix::view {

namespace {

constexpr auto table = std::to_array<SymbolEntry>({
    {"arrow.triangle.2.circlepath", "refresh-cw"},
    {"arrow.uturn.backward", "undo-2"},
    {"character", "letter-a"},
    {"checkmark", "check"},
    {"checkmark.circle.fill", "circle-check-filled"},
    {"checkmark.seal.fill", "badge-check-filled"},
    {"chevron.left.forwardslash.chevron.right", "code-xml"},
    {"chevron.up.chevron.down", "chevrons-up-down"},
    {"clipboard", "clipboard"},
    {"curlybraces", "braces"},
    {"doc", "file"},
    {"doc.on.doc", "copy"},
    {"doc.text", "file-text"},
    {"exclamationmark.triangle.fill", "triangle-alert-filled"},
    {"gearshape", "settings"},
    {"hand.raised", "hand"},
    {"keyboard", "keyboard"},
    {"link", "link"},
    {"link.badge.plus", "link-plus"},
    {"lock.fill", "lock-filled"},
    {"lock.open", "lock-open"},
    {"lock.shield", "shield-lock"},
    {"magnifyingglass", "search"},
    {"moon.fill", "moon-filled"},
    {"photo", "image"},
    {"pin", "pin"},
    {"pin.fill", "pin-filled"},
    {"pin.slash", "pin-off"},
    {"power", "power"},
    {"scissors", "scissors"},
    {"square.and.arrow.up", "share"},
    {"square.grid.2x2", "layout-grid"},
    {"sun.max.fill", "sun-filled"},
    {"textformat", "case-sensitive"},
    {"textformat.size.larger", "a-arrow-up"},
    {"textformat.size.smaller", "a-arrow-down"},
    {"trash", "trash-2"},
    {"wand.and.stars", "wand-sparkles"},
    {"xmark", "x"},
    {"xmark.circle.fill", "circle-x-filled"},
});
static_assert(std::is_sorted(table.begin(), table.end(),
                             [](const auto& a, const auto& b) { return a.name < b.name; }));

}  // namespace

std::span<const SymbolEntry> symbolTable() { return table; }

std::optional<std::string_view> symbolDrawing(std::string_view name) {
    const auto entry = std::lower_bound(table.begin(), table.end(), name,
                                        [](const SymbolEntry& a, std::string_view b) { return a.name < b; });
    if (entry == table.end() || entry->name != name) return std::nullopt;
    const auto source = std::find_if(symbolSources.begin(), symbolSources.end(),
                                     [&](const SymbolSource& each) { return each.file == entry->file; });
    if (source == symbolSources.end()) return std::nullopt;
    return source->svg;
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
