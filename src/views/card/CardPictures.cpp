#include "views/card/CardPictures.h"

#include <string>

#include "core/history/FileIconCache.h"
#include "core/history/ThumbnailCache.h"
#include "platform/view/values/Views.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Kinds.h"

namespace vellumix {

using namespace view;

namespace {

constexpr double side = 44;
constexpr double iconSide = 28;
/// Each for twice the density of points.
constexpr ImageDecoder::PixelSize thumbnailBox{88, 88};
constexpr ImageDecoder::PixelSize pictureBox{400, 400};

Picture pictureIn(const ClipboardItem& item, ImageDecoder::PixelSize box) {
    if (item.locked || !item._imageData) return {};
    const auto known =
        ThumbnailCache::shared().thumbnail(item.id, box, [data = item._imageData] { return data; });
    return {known.bitmap, known.imageSize};
}

View boxed(const View& content) {
    return content.frame(side, side).background(RoundedRectangle(6), ThemeManager::shared().cardFillColor());
}

View boxedSymbol(const std::string& name, const Color& color) {
    return boxed(Symbol(name).font(Font::system(16, Font::Weight::medium)).foreground(color));
}

}  // namespace

View FileIconBox::body() const {
    const auto icon = FileIconCache::shared().icon(url);
    if (icon) return boxed(Image(icon).frame(iconSide, iconSide));
    return boxedSymbol(symbolOf(ClipboardItem::Kind::file), ThemeManager::shared().secondaryTextColor());
}

View thumbnailOf(const ClipboardItem& item) {
    const auto& theme = ThemeManager::shared();
    if (item.locked) return boxedSymbol("lock.fill", theme.mutedTextColor());
    if (item.kind == ClipboardItem::Kind::file) {
        if (const auto url = item.fileURL()) return FileIconBox{*url};
    }
    if (item.kind == ClipboardItem::Kind::image) {
        if (const auto picture = pictureIn(item, thumbnailBox); picture.bitmap) {
            return Image(picture.bitmap, Image::Scaling::fill).frame(side, side).clip(RoundedRectangle(6));
        }
    }
    const bool isLink = item.kind == ClipboardItem::Kind::link;
    return boxedSymbol(symbolOf(item.kind), isLink ? theme.accentColor() : theme.secondaryTextColor());
}

Picture pictureOf(const ClipboardItem& item) { return pictureIn(item, pictureBox); }

std::string imageLineOf(const ClipboardItem& item) {
    const auto size = pictureIn(item, thumbnailBox).size;
    if (!size) return captionOf(ClipboardItem::Kind::image);
    return std::to_string(size->width) + " × " + std::to_string(size->height) + " px";
}

}  // namespace vellumix
