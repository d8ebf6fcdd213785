#pragma once

#include <memory>
#include <optional>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/ImageDecoder.h"
#include "platform/foundation/coding/URL.h"
#include "platform/view/values/View.h"

namespace vellumix {

/// The icon by which the desktop shows a file, asked for anew at each draw; the symbol of files until it has
/// come.
struct FileIconBox {
    URL url;

    view::View body() const;
};

/// The square at the beginning of a card that says what the entry is. A locked one shows a lock alone.
view::View thumbnailOf(const ClipboardItem& item);

/// What is known of an entry's image. Never deciphers one, and decodes none: the first question orders that,
/// and the view that asked is drawn again when there is an answer.
struct Picture {
    /// Null as long as it isn't known, and where it can't be decoded.
    std::shared_ptr<const Bitmap> bitmap;
    /// In pixels of the original.
    std::optional<ImageDecoder::PixelSize> size;
};

/// Sharp enough for the large picture of an expanded card.
Picture pictureOf(const ClipboardItem& item);
/// "640 × 480 px" in short; the name of the kind where the size can't be told.
std::string imageLineOf(const ClipboardItem& item);

}  // namespace vellumix
