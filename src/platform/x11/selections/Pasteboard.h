#pragma once

#include <xcb/xcb.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Pasteboard.h"
#include "platform/foundation/loop/RepeatedFailure.h"
#include "platform/x11/selections/FormatKeeper.h"
#include "platform/x11/selections/SavingService.h"
#include "platform/x11/selections/SelectionReader.h"
#include "platform/x11/server/ServiceSelection.h"

namespace vellumix::x11 {

/// The CLIPBOARD selection of an X11 display.
///
/// A copy of another program is announced by the server (XFixes 5.0 section 7), read while the loop runs, and
/// becomes visible when it is whole. What is on the clipboard at the start isn't read. A copy that another
/// one follows before it could be read is dropped.
///
/// What another program takes up for an owner that has ended, or as the clipboard manager, is the same copy:
/// with the content that is visible it is no change. What the manager takes up of marked content isn't read.
class Pasteboard final : public NSPasteboard {
public:
    explicit Pasteboard(Connection& connection, const TransferLimits& limits = {});
    ~Pasteboard() override;
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;

    Capabilities capabilities() const override { return {.announcesChanges = true}; }
    std::int64_t changeCount() const override { return changeCount_; }
    bool isOurs() const override { return isOurs_; }
    Observation observeChanges(std::function<void()> observer) override;
    Observation observeCopies(std::function<void()> observer) override;
    Observation observeDrops(std::function<void(RefusalReason)> observer) override;

    std::vector<std::string> types() const override;
    std::vector<URL> readFileURLs() const override { return visible.files; }
    std::optional<Data> dataForType(std::string_view type) const override;
    std::optional<String> stringForType(std::string_view type) const override;

    std::int64_t clearContents() override;
    bool setString(const String& text, std::string_view type) override;
    bool writeImage(const Data& png) override;
    bool writeFileURLs(const std::vector<URL>& urls) override;

    void preserve(std::int64_t changeCount) override;

    /// The visible content.
    const Content& content() const { return visible; }
    /// What was written last isn't offered to other programs yet.
    bool isClaiming() const { return owner.isClaiming(); }
    /// Values on their way in or out.
    std::size_t activeTransfers() const { return owner.activeTransfers() + (isReading ? 1 : 0); }

private:
    /// Who holds the clipboard, as far as the server's announcements have been handled.
    enum class Holder {
        /// Nobody, or a program that had it before we began.
        unknown,
        ourselves,
        otherProgram,
        /// It ended without clearing, or cleared in order to end.
        endedProgram,
    };
    using Change = SelectionChange;

    bool canAdd() const { return isOurs_ && isHoldersContent; }
    void told(const Change& change);
    void handleNext();
    void handle(const Change& change);
    void holderEnded(xcb_timestamp_t ownedSince);
    void cleared(const Change& change);
    void clearedForGood();
    void stopAwaitingEnd();
    bool isToBeKept() const;
    bool mustWaitToSave(const SelectionOwner::Request& request);
    void goOnSaving();
    void endSaving();
    void readLater();
    void beginReading();
    void endReading(SelectionReader::Outcome outcome);
    void abandonReading(RefusalReason reason);
    void show(Content content);
    void announce();
    void reportDrop(RefusalReason reason);
    void offerOurs();
    void offerPreserved();

    Connection& connection;
    const TransferLimits limits;
    const std::string hostName;
    SelectionOwner owner;
    SavingService manager;
    ServiceSelection presentManager;
    Content visible;
    std::int64_t changeCount_ = 0;
    /// The visible content was written by this program.
    bool isOurs_ = false;
    /// The visible content is what the holder offers, or offered until it ended.
    bool isHoldersContent = false;
    Holder holder = Holder::unknown;
    /// Announcements of our own takings that are still on their way: what is announced before them is past.
    int ownChangesDue = 0;
    /// The window by which another program has the clipboard, or had it last.
    xcb_window_t holderWindow = XCB_WINDOW_NONE;
    /// When that program took the clipboard, or emptied it.
    xcb_timestamp_t holderTime = XCB_CURRENT_TIME;
    /// It is one with windows that a person sees.
    bool hasHolderWindows = false;
    /// When a program ended that had the clipboard, unless somebody has copied since.
    std::optional<xcb_timestamp_t> endTime;
    /// Told while a program that has emptied the clipboard may be about to end.
    Observation holderEnd;
    std::unique_ptr<NSTimer> endDeadline;
    /// The content that is being read was taken up from the visible one.
    bool succeeds = false;
    /// Further formats of the visible content, for the time after its program's end.
    std::vector<Offer::Representation> kept;
    std::unique_ptr<FormatKeeper> keeper;
    /// A program that is about to end waits until its content is saved.
    std::optional<SelectionOwner::Request> saving;
    std::optional<std::int64_t> preserved;
    std::deque<Change> changes;
    bool isAnnouncing = false;
    bool isReading = false;
    bool isReadingDue = false;
    /// The present reading, or the last one that brought something.
    std::unique_ptr<SelectionReader> reader;
    ObserverList<> changeObservers;
    ObserverList<> copyObservers;
    ObserverList<RefusalReason> dropObservers;
    RepeatedFailure dropLog;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
