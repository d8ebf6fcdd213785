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
    : connection(connection),
      limits(limits),
      hostName(thisHost()),
      owner(connection, connection.atoms().clipboard, limits),
      manager(connection, limits, [this](const auto& request) { return mustWaitToSave(request); }),
      presentManager(connection, "CLIPBOARD_MANAGER"),
      dropLog(connection.runLoop(), pasteboardLog) {
    events = connection.observeSelection(connection.atoms().clipboard,
                                         [this](const Change& change) { told(change); });
    owner.whenClaimed([this] {
        if (owner.isOwner()) ++ownChangesDue;
        handleNext();
    });
}

Pasteboard::~Pasteboard() = default;

Observation Pasteboard::observeChanges(std::function<void()> observer) {
    return changeObservers.add(std::move(observer));
}

Observation Pasteboard::observeCopies(std::function<void()> observer) {
    return copyObservers.add(std::move(observer));
}

Observation Pasteboard::observeDrops(std::function<void(RefusalReason)> observer) {
    return dropObservers.add(std::move(observer));
}

std::vector<std::string> Pasteboard::types() const {
    std::vector<std::string> types;
    if (!visible.files.empty()) types.emplace_back(NSPasteboardTypeFileURL);
    if (visible.image) types.emplace_back(NSPasteboardTypeTIFF);
    if (visible.text) types.emplace_back(NSPasteboardTypeString);
    // An owner's name can't promise what was not read.
    std::copy_if(visible.ownerTypes.begin(), visible.ownerTypes.end(), std::back_inserter(types),
                 [](const std::string& type) { return !type.empty() && !isReadableType(type); });
    return types;
}

std::optional<Data> Pasteboard::dataForType(std::string_view type) const {
    return type == NSPasteboardTypeTIFF ? visible.image : std::nullopt;
}

std::optional<String> Pasteboard::stringForType(std::string_view type) const {
    return type == NSPasteboardTypeString ? visible.text : std::nullopt;
}

std::int64_t Pasteboard::clearContents() {
    abandonReading(overtaken);
    stopAwaitingEnd();
    endTime.reset();
    show({});
    isOurs_ = true;
    isHoldersContent = true;
    offerOurs();
    return changeCount_;
}

bool Pasteboard::setString(const String& text, std::string_view type) {
    if (type != NSPasteboardTypeString || !canAdd()) return false;
    visible.text = text;
    offerOurs();
    return true;
}

bool Pasteboard::writeImage(const Data& png) {
    if (!canAdd()) return false;
    visible.image = png;
    visible.imageType = "image/png";
    offerOurs();
    return true;
}

bool Pasteboard::writeFileURLs(const std::vector<URL>& urls) {
    if (!canAdd()) return false;
    visible.files = urls;
    offerOurs();
    return true;
}

void Pasteboard::offerOurs() {
    kept.clear();
    owner.offer(Offer::of(visible, connection));
    announce();
}

void Pasteboard::preserve(std::int64_t changeCount) {
    if (changeCount != changeCount_) return;
    preserved = changeCount;
    offerPreserved();
}

void Pasteboard::offerPreserved() {
    if (holder != Holder::endedProgram || !isToBeKept()) return;
    holder = Holder::ourselves;
    // As of the time at which the ended program took the clipboard: whoever has taken it since then did so
    // later, if only by the millisecond that server times count in, and the server leaves it to them.
    auto offer = Offer::of(visible, connection);
    offer.add(std::exchange(kept, {}));
    owner.offerAsOf(holderTime, std::move(offer));
}

bool Pasteboard::isToBeKept() const {
    return isHoldersContent && preserved == changeCount_ && visible.hasPayload();
}

void Pasteboard::told(const Change& change) {
    if (change.kind == Change::Kind::tooMany) {
        // From here on nobody tells whose content it is: what is being read could be one program's marker and
        // another one's payload, and what was there is kept for nobody.
        changes.clear();
        abandonReading(overtaken);
        stopAwaitingEnd();
        endTime.reset();
        holder = Holder::unknown;
        isHoldersContent = false;
        return kept.clear();
    }
    // This is behind everything that we had done by then, announced or not.
    if (change.kind == Change::Kind::present) ownChangesDue = connection.isOurs(change.owner) ? 1 : 0;
    changes.push_back(change);
    handleNext();
}

void Pasteboard::handleNext() {
    // A change that has been announced stays visible until its observers have seen it. While we take the
    // clipboard, only the server knows which of the two came first.
    while (!changes.empty() && !isAnnouncing && !owner.isClaiming()) {
        const auto change = changes.front();
        changes.pop_front();
        handle(change);
    }
}

void Pasteboard::handle(const Change& change) {
    if (change.kind == Change::Kind::ended) {
        if (ownChangesDue > 0) return;
        abandonReading(ownerEnded);
        endTime = change.time;
        return holderEnded(change.ownedSince);
    }
    abandonReading(overtaken);
    stopAwaitingEnd();
    if (connection.isOurs(change.owner)) {
        ownChangesDue -= ownChangesDue > 0;
        holder = Holder::ourselves;
        isHoldersContent = true;
        return;
    }
    // The server has already told that we hold the clipboard: this came before.
    if (ownChangesDue > 0) return reportDrop(overtaken);
    if (change.owner == XCB_WINDOW_NONE) return cleared(change);
    const auto manager = presentManager.owner();
    const bool isManager = manager != XCB_WINDOW_NONE && connection.isSameClient(manager, change.owner);
    const bool isTakenUp = isManager || (endTime && change.time - *endTime <= takeUpTime);
    succeeds = isTakenUp && isHoldersContent;
    holder = Holder::otherProgram;
    holderWindow = change.owner;
    holderTime = change.ownedSince;
    kept.clear();
    // What must not be fetched can't be compared.
    if (isManager && succeeds && visible.isMarked) return;
    isHoldersContent = false;
    if (!isTakenUp) {
        endTime.reset();
        copyObservers.notify();
    }
    isReading = true;
    reader.reset();
    if (!isReadingDue) beginReading();
    readLater();
}

void Pasteboard::holderEnded(xcb_timestamp_t ownedSince) {
    holder = Holder::endedProgram;
    holderTime = ownedSince;
    offerPreserved();
}

void Pasteboard::cleared(const Change& change) {
    if (holder != Holder::otherProgram || !hasHolderWindows || !isToBeKept()) return clearedForGood();
    // Some programs empty the clipboard on their way out. Those without windows don't count: they end because
    // somebody else has emptied it.
    holder = Holder::unknown;
    const auto end = [this, time = change.ownedSince] {
        stopAwaitingEnd();
        holderEnded(time);
    };
    auto watch = connection.observeForeign(holderWindow, [end](const auto& event) {
        if (xcb::typeOf(event) == XCB_DESTROY_NOTIFY) end();
    });
    if (!watch) return end();
    holderEnd = std::move(*watch);
    endDeadline = connection.runLoop().oneShotTimer(limits.endSeconds, [this] { clearedForGood(); });
}

void Pasteboard::stopAwaitingEnd() {
    holderEnd.cancel();
    endDeadline.reset();
}

void Pasteboard::clearedForGood() {
    stopAwaitingEnd();
    endTime.reset();
    holder = Holder::unknown;
    isHoldersContent = false;
    kept.clear();
    show({});
}

bool Pasteboard::mustWaitToSave(const SelectionOwner::Request& request) {
    if (holder != Holder::otherProgram || !connection.isSameClient(request.requestor, holderWindow)) {
        return false;
    }
    saving = request;
    goOnSaving();
    return saving.has_value();
}

void Pasteboard::goOnSaving() {
    // Whether it may be kept is known when it has been read and seen.
    if (!saving || isReading || isAnnouncing || keeper) return;
    if (holder == Holder::otherProgram && isToBeKept() && this->kept.empty()) {
        auto targets = targetsToKeep(visible, Offer::of(visible, connection),
                                     connection.numbers(saving->requestor, saving->property, targetsNamed));
        if (!targets.empty()) {
            keeper = std::make_unique<FormatKeeper>(connection, limits, connection.atoms().clipboard,
                                                    holderTime, std::move(targets), [this](auto kept) {
                                                        this->kept = std::move(kept);
                                                        endSaving();
                                                    });
            return;
        }
    }
    endSaving();
}

void Pasteboard::endSaving() {
    keeper.reset();
    saving.reset();
    manager.answer();
}

void Pasteboard::readLater() {
    // Of the copies that follow another one in the same turn of the loop only the last is worth asking for.
    if (std::exchange(isReadingDue, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isReadingDue = false;
        if (isReading && !reader) beginReading();
    }));
}

void Pasteboard::beginReading() {
    const auto windows =
        connection.numbers(connection.root(), connection.atoms().clientList, windowsLookedAt);
    hasHolderWindows = std::ranges::any_of(
        windows, [&](xcb_window_t window) { return connection.isSameClient(window, holderWindow); });
    reader = std::make_unique<SelectionReader>(
        connection, limits, hostName, connection.atoms().clipboard, holderTime,
        [this](SelectionReader::Outcome outcome) { endReading(std::move(outcome)); });
}

void Pasteboard::endReading(SelectionReader::Outcome outcome) {
    isReading = false;
    if (!outcome.content) {
        reader.reset();
        reportDrop(outcome.reason);
        return goOnSaving();
    }
    isHoldersContent = true;
    if (succeeds && outcome.content->hasPayloadOf(visible)) {
        isOurs_ = false;
        return goOnSaving();
    }
    if (succeeds) copyObservers.notify();
    show(std::move(*outcome.content));
}

void Pasteboard::abandonReading(RefusalReason reason) {
    if (std::exchange(isReading, false)) {
        reader.reset();
        reportDrop(reason);
    }
    if (saving) endSaving();
}

void Pasteboard::show(Content content) {
    visible = std::move(content);
    isOurs_ = false;
    ++changeCount_;
    announce();
}

void Pasteboard::announce() {
    if (std::exchange(isAnnouncing, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isAnnouncing = false;
        // An observer may destroy the pasteboard.
        auto goOn = lifetime.weakly([this] {
            goOnSaving();
            handleNext();
        });
        changeObservers.notify();
        goOn();
    }));
}

void Pasteboard::reportDrop(RefusalReason reason) {
    dropLog.error("A copy was dropped: " + std::string(rawValue(reason)) + ".");
    connection.runLoop().post(lifetime.weakly([this, reason] { dropObservers.notify(reason); }));
}

}  // namespace vellumix::x11
