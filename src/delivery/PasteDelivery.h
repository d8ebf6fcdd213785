#pragma once

#include <functional>
#include <optional>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/Workspace.h"

/// The road of an entry from the history into the application that the user came from. Main thread only;
/// every wait is a timer of the run loop.
namespace vellumix {

/// Writes the entry, brings the target to the front, and pastes there as soon as it is, at the latest 0.62
/// seconds from now; without a target after 0.12 seconds, into whatever is in front. Where the desktop gives
/// no synthetic keys, posts the notification "AutoPasteFailed" instead, and the entry waits on the
/// pasteboard. A file that isn't in its place is pasted when the trash has given it, and one that is gone is
/// not.
void deliverPaste(const ClipboardItem& item, const std::optional<NSRunningApplication>& target);

/// Puts an entry on the general pasteboard, and tells the watcher that the change is the program's own. An
/// image or a file that the entry doesn't give leaves the pasteboard as it was; a text that it doesn't give
/// is written as an empty one. For a file that is in the trash, a copy of it follows (`FileOffer`).
void writeToPasteboard(const ClipboardItem& item);

/// Runs the action once the application is in front, or when the deadline, a moment of `RunLoop::uptime`, has
/// passed: looks now, and then every `interval` seconds. An application is known by its process, and one that
/// doesn't tell its process by its window.
void waitForFrontmost(const NSRunningApplication& application, std::function<void()> action, double deadline,
                      double interval);

/// Asks the front application to paste, in the same way for entries of every kind.
void postPasteKeystroke(const ClipboardItem& item);

}  // namespace vellumix
