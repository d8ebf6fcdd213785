#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/Pasteboard.h"
#include "platform/foundation/loop/Date.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/loop/Task.h"
#include "platform/foundation/memory/Lifetime.h"

namespace vellumix {

class Store;

/// Turns what is copied into entries of the history, and decides what is not recorded: what the program wrote
/// itself, marked content, copies from excluded applications, a repeat of the last capture. Main thread only.
class PasteboardWatcher {
public:
    /// Seconds between two polls on a desktop that announces no changes.
    static constexpr double pollInterval = 0.25;

    /// Posted when a copy was lost that a person may count on, at most once a minute, with why, in the user's
    /// language, as "reason".
    static constexpr const char* failedNotification = "CaptureFailed";

    struct Capture {
        Date date;
        ClipboardItem::Kind kind;
    };
    struct Refusal {
        Date date;
        RefusalReason reason;
    };

    /// What is on the pasteboard now isn't captured.
    explicit PasteboardWatcher(Store& store);
    ~PasteboardWatcher();
    PasteboardWatcher(const PasteboardWatcher&) = delete;
    PasteboardWatcher& operator=(const PasteboardWatcher&) = delete;

    /// The latest instance, or null.
    static PasteboardWatcher* shared();

    /// Begins to call `poll`: whenever the pasteboard announces a change, or every `pollInterval` where it
    /// can't.
    void start();
    /// Ends polling.
    void stop();
    /// One check of the pasteboard, whatever has caused it: on most desktops an announced change and no
    /// timer. Neither waits nor repeats. A change that isn't captured stays consumed.
    void poll();

    /// No capture up to and including this moment. Set by whoever writes to the pasteboard for the user.
    Date suppressedUntil = Date::distantPast();

    const std::optional<Capture>& lastCapture() const { return lastCapture_; }
    const std::optional<Refusal>& lastRefusal() const { return lastRefusal_; }

private:
    bool isRefused();
    void capture();
    void captureFile(const URL& url);
    Task captureImage(Data encoded);
    void captureText(const String& text);
    bool isRepeat(std::string_view label, ByteView content);
    void record(ClipboardItem item, std::int64_t change);
    void refuse(RefusalReason reason);
    /// Refuses, and tells the person of what is worth it.
    void lose(RefusalReason reason);

    NSPasteboard& pb;
    std::int64_t changeCount;
    std::unique_ptr<NSTimer> timer;
    Observation copies;
    Observation changes;
    Store& store;
    std::optional<std::uint64_t> lastHash;
    /// Of the present content, which may have taken its time to come.
    bool wasCopiedInExcluded = false;
    std::optional<Capture> lastCapture_;
    std::optional<Refusal> lastRefusal_;
    Date lastFailure = Date::distantPast();
    Observation drops;
    Lifetime lifetime;
};

}  // namespace vellumix
