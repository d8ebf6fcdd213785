#include "platform/x11/Pasteboard.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/foundation/Log.h"

namespace vellumix::x11 {

namespace {

constexpr Log pasteboardLog("Pasteboard");
using enum RefusalReason;

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
      _manager(connection, limits) {
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
    _owner.offer(Offer::of(_visible, _connection));
    announce();
}

void Pasteboard::preserve(std::int64_t changeCount) {
    if (changeCount != _changeCount) return;
    _preserved = changeCount;
    offerPreserved();
}

void Pasteboard::offerPreserved() {
    if (_holder != Holder::endedProgram || !_isHoldersContent || _preserved != _changeCount ||
        !_visible.hasPayload()) {
        return;
    }
    _holder = Holder::ourselves;
    // As of the time at which the ended program took the clipboard: whoever has taken it since then did so
    // later, if only by the millisecond that server times count in, and the server leaves it to them.
    _owner.offerAsOf(_endedHolderTime, Offer::of(_visible, _connection));
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
        _holder = Holder::endedProgram;
        _endedHolderTime = change.selection_timestamp;
        return offerPreserved();
    }
    abandonReading(overtaken);
    if (_connection.isOurs(change.owner)) {
        _ownChangesDue -= _ownChangesDue > 0;
        _holder = Holder::ourselves;
        _isHoldersContent = true;
        return;
    }
    // The server has already told that we hold the clipboard: this came before.
    if (_ownChangesDue > 0) return reportDrop(overtaken);
    _isHoldersContent = false;
    if (change.owner == XCB_WINDOW_NONE) {
        _holder = Holder::unknown;
        return show({});
    }
    _holder = Holder::otherProgram;
    beginReading(change.selection_timestamp);
}

void Pasteboard::beginReading(xcb_timestamp_t time) {
    _isReading = true;
    _manager.readingBegan();
    _reader = std::make_unique<SelectionReader>(
        _connection, _limits, _hostName, _connection.atoms().clipboard, time,
        [this](SelectionReader::Outcome outcome) { endReading(std::move(outcome)); });
}

void Pasteboard::endReading(SelectionReader::Outcome outcome) {
    _isReading = false;
    _manager.readingEnded();
    if (!outcome.content) {
        _reader.reset();
        return reportDrop(outcome.reason);
    }
    _isHoldersContent = true;
    show(std::move(*outcome.content));
}

void Pasteboard::abandonReading(RefusalReason reason) {
    if (!std::exchange(_isReading, false)) return;
    _reader.reset();
    _manager.readingEnded();
    reportDrop(reason);
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
        auto goOn = _lifetime.weakly([this] { handleNext(); });
        _changeObservers.notify();
        goOn();
    }));
}

void Pasteboard::reportDrop(RefusalReason reason) {
    pasteboardLog.info("A copy was dropped: " + std::string(rawValue(reason)) + ".");
    _connection.runLoop().post(_lifetime.weakly([this, reason] { _dropObservers.notify(reason); }));
}

}  // namespace vellumix::x11
