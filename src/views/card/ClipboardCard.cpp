#include "views/card/ClipboardCard.h"

#include <algorithm>

#include "core/history/MissingFiles.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/tree/ChosenRow.h"
#include "platform/view/values/Views.h"
#include "shell/settings/RelativeTimestamp.h"
#include "shell/settings/ThemeManager.h"
#include "views/card/CardPictures.h"
#include "views/card/CardText.h"
#include "views/controls/Kinds.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

using Kind = ClipboardItem::Kind;

/// In points.
constexpr double tallestImage = 200;

std::optional<String> transformableText(const ClipboardItem& item) {
    if (item.kind == Kind::all || item.kind == Kind::image || item.kind == Kind::file) return std::nullopt;
    return item.text();
}

}  // namespace

View ClipboardCard::body() const {
    const auto& theme = ThemeManager::shared();
    auto fill = isHovering ? theme.hoverFillColor() : theme.surfaceColor();
    if (isSelected) fill = theme.selectedFillColor();
    const auto outline =
        isSelected ? Outline{theme.accentColor(), 1.5} : Outline{theme.controlStrokeColor(), 1};
    const auto toggle = [expanded = isExpanded.binding()] {
        withAnimation(Curve::easeInOut(0.2), [&] { expanded.set(!expanded.get()); });
    };
    const auto name = label();
    const auto thumbnail = thumbnailOf(item).onTap(onPaste).semantics(
        Role::image, item.locked ? name : String(captionOf(item.kind)));
    return HStack(Spacing(12), thumbnail, textColumn(), actionRow())
        .focusRing(RoundedRectangle(6))
        .padding(Edge::horizontal, 12)
        .padding(Edge::vertical, isExpanded ? 12 : 8)
        .frame({.minimumHeight = 56})
        .background(RoundedRectangle(8), fill, outline)
        .onTap(toggle)
        .focusRing(RoundedRectangle(10))
        .environment(ChosenRow{isSelected})
        .onHover(isHovering, Cursor::pointingHand)
        .animation(looks::hover, isHovering, isSelected)
        .animation(Curve::easeInOut(0.25), isExpanded)
        .semantics({.role = Role::listItem,
                    .label = name,
                    .state = {.isSelected = isSelected, .isExpanded = isExpanded}});
}

View ClipboardCard::textColumn() const {
    return VStack(Spacing(2), Alignment::leading(), {content(), metaRow()}).fillWidth(Alignment::leading());
}

View ClipboardCard::content() const {
    const auto& theme = ThemeManager::shared();
    const auto line = [&](String text, const Color& color, int collapsedLines,
                          const Font& font = ThemeManager::bodyFont()) {
        return Text(std::move(text)).font(font).foreground(color).lineLimit(isExpanded ? 0 : collapsedLines);
    };
    if (item.locked) {
        return line(localized("locked.title"), theme.mutedTextColor(), 0, ThemeManager::bodyFont().italic());
    }
    const auto text = [&](const Font& font) {
        const auto whole = item.text().value_or(String());
        const auto head = headOf(whole);
        if (const auto said =
                isExpanded && head.size() < whole.size() ? std::nullopt : invisibleTextLine(whole))
            return line(*said, theme.mutedTextColor(), 0, ThemeManager::bodyFont().italic());
        if (!isExpanded) return line(head, theme.primaryTextColor(), 2, font);
        return wholeText(whole).font(font).foreground(theme.primaryTextColor()).lineLimit(0);
    };
    switch (item.kind) {
        case Kind::text:
        case Kind::link:
            return text(ThemeManager::bodyFont());
        case Kind::code:
            return text(ThemeManager::codeFont());
        case Kind::file:
            return line(label(), theme.primaryTextColor(), 1);
        case Kind::image: {
            const auto picture = isExpanded ? pictureOf(item) : Picture();
            if (!picture.bitmap) return line(imageLineOf(item), theme.secondaryTextColor(), 0);
            // A small image isn't blown up.
            const int wholeHeight = picture.size ? picture.size->height : picture.bitmap->height;
            const double height = std::min(tallestImage, static_cast<double>(wholeHeight));
            return Image(picture.bitmap).frame({.maximumHeight = height}).clip(RoundedRectangle(4));
        }
        case Kind::all:
            return {};
    }
    return {};
}

View ClipboardCard::metaRow() const {
    const auto pin =
        HStack(Spacing(2), Symbol("pin.fill").font(Font::system(8)), Text(localized("status.pinned")));
    const auto file = item.kind == Kind::file && !item.locked ? item.fileURL() : std::nullopt;
    const bool isGone = file && MissingFiles::shared().isGone(*file);
    // An age without its unit says nothing; where there is little room, it takes more lines.
    return HStack(Spacing(8), Text(relativeTimestamp(item)).layoutPriority(1),
                  If(item.pinned, pin.lineLimit(1)), If(isGone, Text(localized("file.gone")).lineLimit(1)))
        .font(ThemeManager::captionFont())
        .foreground(ThemeManager::shared().mutedTextColor());
}

View ClipboardCard::actionRow() const {
    const auto transform = [item = item, onTransform = onTransform](TextTransform chosen) {
        if (const auto text = transformableText(item)) onTransform(chosen, *text);
    };
    const bool canTransform = !item.locked && transformableText(item);
    return HStack(
        Spacing(0), CopyActionButton{.tooltip = localized("action.copy"), .action = onCopy},
        If(canTransform, [&] { return TransformMenuButton{.action = transform}; }),
        ShareActionButton{
            .tooltip = localized("action.share"), .disabled = item.locked, .shareItems = onShareItems},
        ActionButton{.icon = item.locked ? "lock.fill" : "lock.open",
                     .tooltip = localized(item.locked ? "action.unlock" : "action.lock"),
                     .action = onLock},
        ActionButton{.icon = item.pinned ? "pin.fill" : "pin",
                     .tooltip = localized(item.pinned ? "action.unpin" : "action.pin"),
                     .action = onPin},
        ActionButton{
            .icon = "trash", .tooltip = localized("delete"), .isDestructive = true, .action = onDelete});
}

String ClipboardCard::label() const {
    if (item.locked) return localized("locked.title");
    if (item.kind == Kind::image) return imageLineOf(item);
    if (item.kind == Kind::file) {
        const auto url = item.fileURL();
        return url ? String(url->lastPathComponent()) : String(captionOf(Kind::file));
    }
    const auto text = item.text().value_or(String());
    return invisibleTextLine(text).value_or(headOf(text));
}

}  // namespace vellumix
