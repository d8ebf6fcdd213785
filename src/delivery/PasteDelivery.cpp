#include "delivery/PasteDelivery.h"

#include "core/PasteboardWatcher.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/RunLoop.h"

namespace vellumix {

namespace {

/// Long enough for the watcher to see the change; other copies in this time go unrecorded.
constexpr double suppressionSeconds = 0.6;

/// False where there was nothing to write.
bool write(const ClipboardItem& item) {
    auto& platform = platform::current();
    auto& pasteboard = platform.pasteboard;
    switch (item.kind) {
        case ClipboardItem::Kind::text:
        case ClipboardItem::Kind::link:
        case ClipboardItem::Kind::code:
            pasteboard.clearContents();
            pasteboard.setString(item.text().value_or(String()), NSPasteboardTypeString);
            return true;
        case ClipboardItem::Kind::image: {
            const auto image = item.imageData();
            if (!image || !platform.imageDecoder.sizeOf(*image)) return false;
            pasteboard.clearContents();
            return pasteboard.writeImage(*image);
        }
        case ClipboardItem::Kind::file: {
            const auto url = item.fileURL();
            if (!url) return false;
            pasteboard.clearContents();
            return pasteboard.writeFileURLs({*url});
        }
        case ClipboardItem::Kind::all:
            return false;
    }
    return false;
}

}  // namespace

void writeToPasteboard(const ClipboardItem& item) {
    if (!write(item)) return;
    if (auto* watcher = PasteboardWatcher::shared()) {
        watcher->suppressedUntil = RunLoop::main().now() + suppressionSeconds;
    }
}

}  // namespace vellumix
