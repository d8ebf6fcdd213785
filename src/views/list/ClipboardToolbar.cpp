#include "views/list/ClipboardToolbar.h"

#include <string>
#include <vector>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/FilterChip.h"
#include "views/controls/Kinds.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

using Kind = ClipboardItem::Kind;

constexpr Kind filters[] = {Kind::all, Kind::text, Kind::image, Kind::link, Kind::file, Kind::code};

View searchField(const Binding<String>& searchText, const std::optional<Binding<bool>>& isFocused) {
    const auto& theme = ThemeManager::shared();
    const auto prompt = localized("action.search");
    const auto clearLabel = localized("action.clearSearch");
    const bool isEmpty = searchText.get().empty();
    const auto clear = [searchText] { withAnimation(looks::hover, [&] { searchText.set({}); }); };
    const TextField plainField(searchText, {.prompt = prompt, .promptColor = theme.mutedTextColor()});
    const View field = isFocused ? plainField.focusable(*isFocused) : View(plainField);
    return HStack(
               Spacing(4),
               Symbol("magnifyingglass")
                   .font(Font::system(12, Font::Weight::medium))
                   .foreground(theme.mutedTextColor()),
               field.font(ThemeManager::smallFont())
                   .foreground(theme.primaryTextColor())
                   .focusRing(std::nullopt)
                   .semantics(Role::textField, prompt)
                   .fillWidth(Alignment::leading()),
               If(!isEmpty,
                  Button(
                      clear,
                      Symbol("xmark.circle.fill").font(Font::system(11)).foreground(theme.mutedTextColor()))
                      .onHover([](bool) {}, Cursor::pointingHand)
                      .help(clearLabel)
                      .semantics(Role::button, clearLabel)
                      .transition(Transition::opacity().with(Transition::scaleFrom(0.8)))))
        .padding(8)
        .background(RoundedRectangle(6), theme.surfaceColor(), Outline{theme.controlStrokeColor(), 1});
}

}  // namespace

View ClipboardToolbar::body() const {
    const auto& theme = ThemeManager::shared();
    const auto danger = ThemeManager::dangerColor();
    const auto clearLabel = localized("action.clearHistory");
    const auto clearButton =
        Button(onClear, Symbol("trash")
                            .font(Font::system(13, Font::Weight::medium))
                            .foreground(isHoveringClear ? danger : theme.secondaryTextColor())
                            .frame(32, 32))
            .background(RoundedRectangle(6), isHoveringClear ? danger.withOpacity(0.1) : theme.surfaceColor(),
                        Outline{isHoveringClear ? danger.withOpacity(0.3) : theme.controlStrokeColor(), 1})
            .onHover(isHoveringClear, Cursor::pointingHand)
            .animation(looks::hover, isHoveringClear)
            .help(clearLabel)
            .semantics(Role::button, clearLabel);
    std::vector<View> chips;
    for (const auto kind : filters) {
        chips.push_back(FilterChip{.icon = symbolOf(kind),
                                   .label = captionOf(kind),
                                   .isSelected = selectedFilter.get() == kind,
                                   .action = [filter = selectedFilter, kind] { filter.set(kind); }});
    }
    return VStack(Spacing(12), HStack(Spacing(8), searchField(searchText, isSearchFocused), clearButton),
                  HStack(Spacing(4), Alignment::centre(), std::move(chips)))
        .padding(Edge::horizontal, 16)
        .padding(Edge::vertical, 12);
}

}  // namespace vellumix
