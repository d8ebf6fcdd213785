#pragma once

#include <xcb/xfixes.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Pasteboard.h"
#include "platform/x11/ClipboardManager.h"
#include "platform/x11/SelectionReader.h"

namespace vellumix::x11 {

/// The CLIPBOARD selection of an X11 display.
///
/// A copy of another program is announced by the server (XFixes 5.0 section 7), read while the loop runs, and
/// becomes visible when it is whole. What is on the clipboard at the start isn't read. A copy that another
/// one follows before it could be read is dropped.
class Pasteboard final : public NSPasteboard {
public:
    explicit Pasteboard(Connection& connection, const TransferLimits& limits = {});
    ~Pasteboard() override;
    Pasteboard(const Pasteboard&) = delete;
    Pasteboard& operator=(const Pasteboard&) = delete;

    Capabilities capabilities() const override { return {.announcesChanges = true}; }
    std::int64_t changeCount() const override { return _changeCount; }
    Observation observeChanges(std::function<void()> observer) override;
    Observation observeDrops(std::function<void(RefusalReason)> observer) override;

    std::vector<std::string> types() const override;
    std::vector<URL> readFileURLs() const override { return _visible.files; }
    std::optional<Data> dataForType(std::string_view type) const override;
    std::optional<String> stringForType(std::string_view type) const override;

    std::int64_t clearContents() override;
    bool setString(const String& text, std::string_view type) override;
    bool writeImage(const Data& png) override;
    bool writeFileURLs(const std::vector<URL>& urls) override;

    void preserve(std::int64_t changeCount) override;

    /// The visible content.
    const Content& content() const { return _visible; }
    /// What was written last isn't offered to other programs yet.
    bool isClaiming() const { return _owner.isClaiming(); }
    /// Values on their way in or out.
    std::size_t activeTransfers() const { return _owner.activeTransfers() + (_isReading ? 1 : 0); }

private:
    /// Who holds the clipboard, as far as the server's announcements have been handled.
    enum class Holder {
        /// Nobody, or a program that had it before we began.
        unknown,
        ourselves,
        otherProgram,
        /// It ended without clearing.
        endedProgram,
    };
    using Change = Connection::SelectionChange;

    bool canAdd() const { return _isOurs && _isHoldersContent; }
    void handleNext();
    void handle(const Change& change);
    void beginReading(xcb_timestamp_t time);
    void endReading(SelectionReader::Outcome outcome);
    void abandonReading(RefusalReason reason);
    void show(Content content);
    void announce();
    void reportDrop(RefusalReason reason);
    void offerOurs();
    void offerPreserved();

    Connection& _connection;
    const TransferLimits _limits;
    const std::string _hostName;
    SelectionOwner _owner;
    ClipboardManager _manager;
    Content _visible;
    std::int64_t _changeCount = 0;
    /// The visible content was written by this program.
    bool _isOurs = false;
    /// The visible content is what the holder offers, or offered until it ended.
    bool _isHoldersContent = false;
    Holder _holder = Holder::unknown;
    /// Announcements of our own takings that are still on their way: what is announced before them is past.
    int _ownChangesDue = 0;
    /// When the ended program had taken the clipboard.
    xcb_timestamp_t _endedHolderTime = XCB_CURRENT_TIME;
    std::optional<std::int64_t> _preserved;
    std::deque<Change> _changes;
    bool _isAnnouncing = false;
    bool _isReading = false;
    /// The present reading, or the last one that brought something.
    std::unique_ptr<SelectionReader> _reader;
    ObserverList<> _changeObservers;
    ObserverList<RefusalReason> _dropObservers;
    Observation _events;
    Lifetime _lifetime;
};

}  // namespace vellumix::x11
