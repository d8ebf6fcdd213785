#include "views/controls/Kinds.h"

#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

std::string symbolOf(ClipboardItem::Kind kind) {
    switch (kind) {
        case ClipboardItem::Kind::all:
            return "square.grid.2x2";
        case ClipboardItem::Kind::text:
            return "doc.text";
        case ClipboardItem::Kind::image:
            return "photo";
        case ClipboardItem::Kind::file:
            return "doc";
        case ClipboardItem::Kind::link:
            return "link";
        case ClipboardItem::Kind::code:
            return "chevron.left.forwardslash.chevron.right";
    }
    return {};
}

std::string captionOf(ClipboardItem::Kind kind) {
    return localized("category." + std::string(rawValue(kind)));
}

}  // namespace vellumix
