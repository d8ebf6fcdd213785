#include "core/capture/PasteboardWatcher.h"

#include <algorithm>
#include <new>

#include "core/capture/ExclusionSettings.h"
#include "core/capture/TextClassification.h"
#include "core/history/Store.h"
#include "platform/desktop/Platform.h"
#include "platform/foundation/cipher/Hasher.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

/// Seconds between two messages that a copy was lost.
constexpr double failurePeriod = 60;

/// A newer copy, or one that holds nothing to show, is nothing that a person waits for.
bool isLoss(RefusalReason reason) {
    return reason == RefusalReason::noAnswer || reason == RefusalReason::tooManyTargets ||
           reason == RefusalReason::tooLarge || reason == RefusalReason::ownerEnded ||
           reason == RefusalReason::noMemory || reason == RefusalReason::historyIsFull;
}

/// The reference that others reach the watcher by.
struct LatestWatcher {
    PasteboardWatcher* watcher = nullptr;
};

LatestWatcher& latest() { return SharedInstances::current().get<LatestWatcher>(); }

bool isFrontExcluded() {
    const auto application = platform::current().workspace->frontmostApplication();
    return application && application->bundleIdentifier &&
           ExclusionSettings::shared().excludedBundleIds->contains(*application->bundleIdentifier);
}

ClipboardItem freshItem(ClipboardItem::Kind kind) {
    return {.id = UUID::random(), .date = RunLoop::main().now(), .kind = kind};
}

}  // namespace

PasteboardWatcher::PasteboardWatcher(Store& store)
    : pb(*platform::current().pasteboard), changeCount(pb.changeCount()), store(store) {
    latest().watcher = this;
}

PasteboardWatcher::~PasteboardWatcher() {
    if (latest().watcher == this) latest().watcher = nullptr;
}

PasteboardWatcher* PasteboardWatcher::shared() { return latest().watcher; }

void PasteboardWatcher::start() {
    stop();
    copies = pb.observeCopies([this] { wasCopiedInExcluded = isFrontExcluded(); });
    drops = pb.observeDrops([this](RefusalReason reason) { lose(reason); });
    if (pb.capabilities().announcesChanges) {
        changes = pb.observeChanges([this] { poll(); });
    } else {
        timer = RunLoop::main().repeatingTimer(pollInterval, lifetime.weakly([this] { poll(); }));
    }
}

void PasteboardWatcher::stop() {
    timer.reset();
    copies.cancel();
    changes.cancel();
    drops.cancel();
}

void PasteboardWatcher::poll() {
    const auto change = pb.changeCount();
    if (change == changeCount) return;
    changeCount = change;
    if (isRefused()) return;
    try {
        capture();
    } catch (const std::bad_alloc&) {
        refuse(RefusalReason::noMemory);
    }
}

void PasteboardWatcher::capture() {
    const auto files = pb.readFileURLs();
    if (!files.empty()) return captureFile(files.front());
    if (auto image = pb.dataForType(NSPasteboardTypeTIFF)) {
        captureImage(std::move(*image));
        return;
    }
    if (const auto text = pb.stringForType(NSPasteboardTypeString)) captureText(*text);
}

bool PasteboardWatcher::isRefused() {
    if (RunLoop::main().now() <= suppressedUntil) {
        // A write of our own is no copy that a person would miss.
        if (!pb.isOurs()) refuse(RefusalReason::justAfterPaste);
        return true;
    }
    const auto types = pb.types();
    if (std::ranges::any_of(types, isMarkerType)) {
        refuse(RefusalReason::marked);
        return true;
    }
    if (isFrontExcluded() || (wasCopiedInExcluded && !pb.isOurs())) {
        refuse(RefusalReason::excludedApplication);
        return true;
    }
    return false;
}

void PasteboardWatcher::captureFile(const URL& url) {
    if (isRepeat("file", viewOf(url.path()))) return;
    auto item = freshItem(ClipboardItem::Kind::file);
    item._text = String(repairedUTF8(url.lastPathComponent()));
    item._fileURL = url;
    record(std::move(item), changeCount);
}

Task PasteboardWatcher::captureImage(Data encoded) {
    if (isRepeat("image", encoded)) co_return;
    const auto change = changeCount;
    // What isn't excluded may outlive its owner, which may end before the picture has been converted.
    pb.preserve(change);
    // What resumes after the conversion holds the watcher weakly: it may have gone by then.
    const auto finish = lifetime.weakly([this, change](std::optional<Data> png) {
        if (!png) return refuse(RefusalReason::undecodableImage);
        auto item = freshItem(ClipboardItem::Kind::image);
        item._imageData = std::move(*png);
        record(std::move(item), change);
    });
    auto conversion = [&images = *platform::current().images, encoded = std::move(encoded)] {
        return images.pngRepresentation(encoded);
    };
    auto png = co_await inBackground(std::move(conversion));
    auto resume = finish;
    resume(std::move(png));
}

void PasteboardWatcher::captureText(const String& text) {
    const auto trimmed = trimmedOfWhitespaceAndNewlines(text);
    if (trimmed.empty()) return refuse(RefusalReason::onlyBlanks);
    const auto kind = classify(trimmed);
    if (isRepeat(rawValue(kind), viewOf(trimmed))) return;
    auto item = freshItem(kind);
    // Shared with the pasteboard's copy when nothing was trimmed, which for a large text is worth having.
    item._text = trimmed.size() == text.size() ? text : String(trimmed);
    record(std::move(item), changeCount);
}

bool PasteboardWatcher::isRepeat(std::string_view label, ByteView content) {
    Hasher hasher;
    hasher.combine(label);
    hasher.combine(content);
    const auto hash = hasher.finalize();
    if (lastHash != hash) {
        lastHash = hash;
        return false;
    }
    refuse(RefusalReason::repeated);
    pb.preserve(changeCount);
    return true;
}

void PasteboardWatcher::record(ClipboardItem item, std::int64_t change) {
    if (const auto reason = store.excessOf(item)) {
        // No capture: a second try, with room made for it, isn't a repeat.
        lastHash.reset();
        return lose(*reason);
    }
    lastCapture_ = Capture{item.date, item.kind};
    store.add(std::move(item));
    // Only what is recorded may outlive its owner: the rest was not ours to keep.
    pb.preserve(change);
}

void PasteboardWatcher::lose(RefusalReason reason) {
    refuse(reason);
    const auto now = RunLoop::main().now();
    if (!isLoss(reason) || wasCopiedInExcluded || now < lastFailure + failurePeriod) return;
    lastFailure = now;
    NotificationCenter::defaultCenter().post(failedNotification, {{"reason", localizedText(reason)}});
}

void PasteboardWatcher::refuse(RefusalReason reason) {
    lastRefusal_ = Refusal{RunLoop::main().now(), reason};
}

}  // namespace vellumix
