#include "platform/x11/selections/Pasteboard.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

constexpr Log pasteboardLog("Pasteboard");
using enum RefusalReason;

/// Milliseconds within which content is taken up after its owner's end; managers need some ten.
constexpr xcb_timestamp_t takeUpTime = 1000;
constexpr std::uint32_t windowsLookedAt = 1024;
/// Targets that a program names to be saved.
constexpr std::uint32_t targetsNamed = 1024;

std::string thisHost() {
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? std::string(name.data()) : std::string();
}

bool isReadableType(std::string_view type) {
    return type == NSPasteboardTypeString || type == NSPasteboardTypeFileURL || type == NSPasteboardTypeTIFF;
}

}  // namespace

Pasteboard::Pasteboard(Connection& connection, const TransferLimits& limits)
    : _connection(connection),
      _limits(limits),
      _hostName(thisHost()),
      _owner(connection, connection.atoms().clipboard, limits),
      _manager(connection, limits, [this](const auto& request) { return mustWaitToSave(request); }),
      _presentManager(connection, "CLIPBOARD_MANAGER"),
      _dropLog(connection.runLoop(), pasteboardLog) {
    _events = connection.observeSelection(connection.atoms().clipboard, [this](const Change& change) {
        _changes.push_back(change);
        handleNext();
    });
    _owner.whenClaimed([this] {
        if (_owner.isOwner()) ++_ownChangesDue;
        handleNext();
    });
}

Pasteboard::~Pasteboard() = default;

Observation Pasteboard::observeChanges(std::function<void()> observer) {
    return _changeObservers.add(std::move(observer));
}

Observation Pasteboard::observeCopies(std::function<void()> observer) {
    return _copyObservers.add(std::move(observer));
}

Observation Pasteboard::observeDrops(std::function<void(RefusalReason)> observer) {
    return _dropObservers.add(std::move(observer));
}

std::vector<std::string> Pasteboard::types() const {
    std::vector<std::string> types;
    if (!_visible.files.empty()) types.emplace_back(NSPasteboardTypeFileURL);
    if (_visible.image) types.emplace_back(NSPasteboardTypeTIFF);
    if (_visible.text) types.emplace_back(NSPasteboardTypeString);
    // An owner's name can't promise what was not read.
    std::copy_if(_visible.ownerTypes.begin(), _visible.ownerTypes.end(), std::back_inserter(types),
                 [](const std::string& type) { return !type.empty() && !isReadableType(type); });
    return types;
}

std::optional<Data> Pasteboard::dataForType(std::string_view type) const {
    return type == NSPasteboardTypeTIFF ? _visible.image : std::nullopt;
}

std::optional<String> Pasteboard::stringForType(std::string_view type) const {
    return type == NSPasteboardTypeString ? _visible.text : std::nullopt;
}

std::int64_t Pasteboard::clearContents() {
    abandonReading(overtaken);
    stopAwaitingEnd();
    _endTime.reset();
    show({});
    _isOurs = true;
    _isHoldersContent = true;
    offerOurs();
    return _changeCount;
}

bool Pasteboard::setString(const String& text, std::string_view type) {
    if (type != NSPasteboardTypeString || !canAdd()) return false;
    _visible.text = text;
    offerOurs();
    return true;
}

bool Pasteboard::writeImage(const Data& png) {
    if (!canAdd()) return false;
    _visible.image = png;
    _visible.imageType = "image/png";
    offerOurs();
    return true;
}

bool Pasteboard::writeFileURLs(const std::vector<URL>& urls) {
    if (!canAdd()) return false;
    _visible.files = urls;
    offerOurs();
    return true;
}

void Pasteboard::offerOurs() {
    _kept.clear();
    _owner.offer(Offer::of(_visible, _connection));
    announce();
}

void Pasteboard::preserve(std::int64_t changeCount) {
    if (changeCount != _changeCount) return;
    _preserved = changeCount;
    offerPreserved();
}

void Pasteboard::offerPreserved() {
    if (_holder != Holder::endedProgram || !isToBeKept()) return;
    _holder = Holder::ourselves;
    // As of the time at which the ended program took the clipboard: whoever has taken it since then did so
    // later, if only by the millisecond that server times count in, and the server leaves it to them.
    auto offer = Offer::of(_visible, _connection);
    offer.add(std::exchange(_kept, {}));
    _owner.offerAsOf(_holderTime, std::move(offer));
}

bool Pasteboard::isToBeKept() const {
    return _isHoldersContent && _preserved == _changeCount && _visible.hasPayload();
}

void Pasteboard::handleNext() {
    // A change that has been announced stays visible until its observers have seen it. While we take the
    // clipboard, only the server knows which of the two came first.
    while (!_changes.empty() && !_isAnnouncing && !_owner.isClaiming()) {
        const auto change = _changes.front();
        _changes.pop_front();
        handle(change);
    }
}

void Pasteboard::handle(const Change& change) {
    if (change.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER) {
        if (_ownChangesDue > 0) return;
        abandonReading(ownerEnded);
        _endTime = change.timestamp;
        return holderEnded(change.selection_timestamp);
    }
    abandonReading(overtaken);
    stopAwaitingEnd();
    if (_connection.isOurs(change.owner)) {
        _ownChangesDue -= _ownChangesDue > 0;
        _holder = Holder::ourselves;
        _isHoldersContent = true;
        return;
    }
    // The server has already told that we hold the clipboard: this came before.
    if (_ownChangesDue > 0) return reportDrop(overtaken);
    if (change.owner == XCB_WINDOW_NONE) return cleared(change);
    const auto manager = _presentManager.owner();
    const bool isManager = manager != XCB_WINDOW_NONE && _connection.isSameClient(manager, change.owner);
    const bool isTakenUp = isManager || (_endTime && change.timestamp - *_endTime <= takeUpTime);
    _succeeds = isTakenUp && _isHoldersContent;
    _holder = Holder::otherProgram;
    _holderWindow = change.owner;
    _holderTime = change.selection_timestamp;
    _kept.clear();
    // What must not be fetched can't be compared.
    if (isManager && _succeeds && _visible.isMarked) return;
    _isHoldersContent = false;
    if (!isTakenUp) {
        _endTime.reset();
        _copyObservers.notify();
    }
    _isReading = true;
    _reader.reset();
    if (!_isReadingDue) beginReading();
    readLater();
}

void Pasteboard::holderEnded(xcb_timestamp_t ownedSince) {
    _holder = Holder::endedProgram;
    _holderTime = ownedSince;
    offerPreserved();
}

void Pasteboard::cleared(const Change& change) {
    if (_holder != Holder::otherProgram || !_hasHolderWindows || !isToBeKept()) return clearedForGood();
    // Some programs empty the clipboard on their way out. Those without windows don't count: they end because
    // somebody else has emptied it.
    _holder = Holder::unknown;
    const auto end = [this, time = change.selection_timestamp] {
        stopAwaitingEnd();
        holderEnded(time);
    };
    auto watch = _connection.observeForeign(_holderWindow, [end](const auto& event) {
        if (xcb::typeOf(event) == XCB_DESTROY_NOTIFY) end();
    });
    if (!watch) return end();
    _holderEnd = std::move(*watch);
    _endDeadline = _connection.runLoop().oneShotTimer(_limits.endSeconds, [this] { clearedForGood(); });
}

void Pasteboard::stopAwaitingEnd() {
    _holderEnd.cancel();
    _endDeadline.reset();
}

void Pasteboard::clearedForGood() {
    stopAwaitingEnd();
    _endTime.reset();
    _holder = Holder::unknown;
    _isHoldersContent = false;
    _kept.clear();
    show({});
}

bool Pasteboard::mustWaitToSave(const SelectionOwner::Request& request) {
    if (_holder != Holder::otherProgram || !_connection.isSameClient(request.requestor, _holderWindow)) {
        return false;
    }
    _saving = request;
    goOnSaving();
    return _saving.has_value();
}

void Pasteboard::goOnSaving() {
    // Whether it may be kept is known when it has been read and seen.
    if (!_saving || _isReading || _isAnnouncing || _keeper) return;
    if (_holder == Holder::otherProgram && isToBeKept() && _kept.empty()) {
        auto targets =
            targetsToKeep(_visible, Offer::of(_visible, _connection),
                          _connection.numbers(_saving->requestor, _saving->property, targetsNamed));
        if (!targets.empty()) {
            _keeper = std::make_unique<FormatKeeper>(_connection, _limits, _connection.atoms().clipboard,
                                                     _holderTime, std::move(targets), [this](auto kept) {
                                                         _kept = std::move(kept);
                                                         endSaving();
                                                     });
            return;
        }
    }
    endSaving();
}

void Pasteboard::endSaving() {
    _keeper.reset();
    _saving.reset();
    _manager.answer();
}

void Pasteboard::readLater() {
    // Of the copies that follow another one in the same turn of the loop only the last is worth asking for.
    if (std::exchange(_isReadingDue, true)) return;
    _connection.runLoop().post(_lifetime.weakly([this] {
        _isReadingDue = false;
        if (_isReading && !_reader) beginReading();
    }));
}

void Pasteboard::beginReading() {
    const auto windows =
        _connection.numbers(_connection.root(), _connection.atoms().clientList, windowsLookedAt);
    _hasHolderWindows = std::ranges::any_of(
        windows, [&](xcb_window_t window) { return _connection.isSameClient(window, _holderWindow); });
    _reader = std::make_unique<SelectionReader>(
        _connection, _limits, _hostName, _connection.atoms().clipboard, _holderTime,
        [this](SelectionReader::Outcome outcome) { endReading(std::move(outcome)); });
}

void Pasteboard::endReading(SelectionReader::Outcome outcome) {
    _isReading = false;
    if (!outcome.content) {
        _reader.reset();
        reportDrop(outcome.reason);
        return goOnSaving();
    }
    _isHoldersContent = true;
    if (_succeeds && outcome.content->hasPayloadOf(_visible)) {
        _isOurs = false;
        return goOnSaving();
    }
    if (_succeeds) _copyObservers.notify();
    show(std::move(*outcome.content));
}

void Pasteboard::abandonReading(RefusalReason reason) {
    if (std::exchange(_isReading, false)) {
        _reader.reset();
        reportDrop(reason);
    }
    if (_saving) endSaving();
}

void Pasteboard::show(Content content) {
    _visible = std::move(content);
    _isOurs = false;
    ++_changeCount;
    announce();
}

void Pasteboard::announce() {
    if (std::exchange(_isAnnouncing, true)) return;
    _connection.runLoop().post(_lifetime.weakly([this] {
        _isAnnouncing = false;
        // An observer may destroy the pasteboard.
        auto goOn = _lifetime.weakly([this] {
            goOnSaving();
            handleNext();
        });
        _changeObservers.notify();
        goOn();
    }));
}

void Pasteboard::reportDrop(RefusalReason reason) {
    _dropLog.error("A copy was dropped: " + std::string(rawValue(reason)) + ".");
    _connection.runLoop().post(_lifetime.weakly([this, reason] { _dropObservers.notify(reason); }));
}

}  // namespace vellumix::x11
