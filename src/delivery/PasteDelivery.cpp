#include "delivery/PasteDelivery.h"

#include <utility>

#include "core/capture/PasteboardWatcher.h"
#include "delivery/FileOffer.h"
#include "delivery/MovePasteState.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/NotificationCenter.h"

namespace vellumix {

namespace {

/// Long enough for the watcher to see the change; other copies in this time go unrecorded.
constexpr double suppressionSeconds = 0.6;
/// How long a target may take to come to the front.
constexpr double activationSeconds = 0.6;
constexpr double pollSeconds = 0.02;
/// How long the window behind the panel may take to have the keyboard again.
constexpr double settlingSeconds = 0.12;

constexpr KeyChord commandV{.keyCode = 9, .flags = kCGEventFlagMaskCommand};

/// Has the watcher take the change of the pasteboard for the program's own.
void suppressWatcher() {
    if (auto* watcher = PasteboardWatcher::shared())
        watcher->suppressedUntil = RunLoop::main().now() + suppressionSeconds;
}

bool writeFile(const URL& url) {
    auto& pasteboard = *platform::current().pasteboard;
    pasteboard.clearContents();
    return pasteboard.writeFileURLs({url});
}

/// False where there was nothing to write.
bool write(const ClipboardItem& item) {
    auto& platform = platform::current();
    auto& pasteboard = *platform.pasteboard;
    switch (item.kind) {
        case ClipboardItem::Kind::text:
        case ClipboardItem::Kind::link:
        case ClipboardItem::Kind::code:
            pasteboard.clearContents();
            pasteboard.setString(item.text().value_or(String()), NSPasteboardTypeString);
            return true;
        case ClipboardItem::Kind::image: {
            const auto image = item.imageData();
            const auto whole = image ? platform.images->pngRepresentation(*image) : std::nullopt;
            if (!whole) return false;
            pasteboard.clearContents();
            return pasteboard.writeImage(*whole);
        }
        case ClipboardItem::Kind::file: {
            const auto url = item.fileURL();
            if (!url || !writeFile(*url)) return false;
            FileOffer::shared().follow(*url, [](const URL& found) {
                if (writeFile(found)) suppressWatcher();
            });
            return true;
        }
        case ClipboardItem::Kind::all:
            return false;
    }
    return false;
}

/// A file that is not where it was may still be on its way from the trash.
void pasteWhenReady(const ClipboardItem& item) {
    if (item.kind != ClipboardItem::Kind::file) return postPasteKeystroke(item);
    FileOffer::shared().whenReady([item] { postPasteKeystroke(item); });
}

}  // namespace

void deliverPaste(const ClipboardItem& item, const std::optional<NSRunningApplication>& target) {
    auto& platform = platform::current();
    writeToPasteboard(item);
    if (!platform.syntheticKeys->AXIsProcessTrustedWithOptions(true)) {
        NotificationCenter::defaultCenter().post("AutoPasteFailed");
        return;
    }
    if (!target) {
        onMainAfter(settlingSeconds, [item] { pasteWhenReady(item); });
        return;
    }
    platform.workspace->activate(*target);
    const auto deadline = platform.runLoop->uptime() + activationSeconds;
    onMainAfter(pollSeconds, [item, deadline, target = *target] {
        waitForFrontmost(
            target, [item] { pasteWhenReady(item); }, deadline, pollSeconds);
    });
}

void waitForFrontmost(const NSRunningApplication& application, std::function<void()> action, double deadline,
                      double interval) {
    const auto& platform = platform::current();
    const auto front = platform.workspace->frontmostApplication();
    const bool isInFront = front && front->processIdentifier == application.processIdentifier &&
                           (front->processIdentifier != 0 || front->window == application.window);
    if (isInFront || platform.runLoop->uptime() > deadline) return action();
    onMainAfter(interval, [application, action = std::move(action), deadline, interval] {
        waitForFrontmost(application, action, deadline, interval);
    });
}

void postPasteKeystroke(const ClipboardItem& item) {
    // An armed state is spent by one paste, whatever comes of it. No file manager moves a file for us, so the
    // paste is the same.
    if (item.kind == ClipboardItem::Kind::file) MovePasteState::shared().take();
    platform::current().syntheticKeys->CGEventPost(commandV);
}

void writeToPasteboard(const ClipboardItem& item) {
    if (write(item)) suppressWatcher();
}

}  // namespace vellumix
