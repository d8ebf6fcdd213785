#include "platform/x11/selections/SelectionOwner.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

/// Of one client. Programs ask for one target after another, and a few of them for all at once.
constexpr std::size_t requestsHeld = 32;
constexpr std::size_t stepsWaiting = 256;
/// Pairs of one MULTIPLE request; programs ask for two or three.
constexpr std::size_t pairsServed = 64;
/// From this size on a value is sent only to a window that is still there.
constexpr std::size_t largeBytes = std::size_t{64} << 10;

/// Server times wrap round every 49.7 days (X protocol, section 4).
bool isEarlier(xcb_timestamp_t a, xcb_timestamp_t b) { return static_cast<std::int32_t>(a - b) < 0; }

/// Tells the requestor where its value is; the property is None where it gets none (ICCCM 2.0 section 2.2).
void notify(Connection& connection, const xcb_selection_request_event_t& request, xcb_atom_t property) {
    // xcb_send_event sends 32 bytes, whatever the size of the event's structure.
    union {
        xcb_selection_notify_event_t event;
        char bytes[32];
    } answer{};
    answer.event.response_type = XCB_SELECTION_NOTIFY;
    answer.event.time = request.time;
    answer.event.requestor = request.requestor;
    answer.event.selection = request.selection;
    answer.event.target = request.target;
    answer.event.property = property;
    xcb_send_event(connection.xcb(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, answer.bytes);
}

}  // namespace

struct SelectionOwner::Answer {
    Request request;
    /// Clients older than ICCCM 2.0 name no property and mean the target's name (section 2.2).
    xcb_atom_t property;
    /// What was offered when the request came, and since when.
    std::shared_ptr<const Offer> offer;
    xcb_timestamp_t time;
    /// Of MULTIPLE, once they have been read: target and property by turns.
    std::optional<std::vector<xcb_atom_t>> pairs = {};
    std::size_t pairsDone = 0;
};

SelectionOwner::SelectionOwner(Connection& connection, xcb_atom_t selection, const TransferLimits& limits)
    : connection(connection), selection(selection), limits(limits), offer_(std::make_shared<const Offer>()) {
    makeWindow();
}

void SelectionOwner::makeWindow() {
    window_ = std::make_unique<Window>(connection);
    events = connection.observe(window_->id(), [this](const auto& event) { handle(event); });
}

void SelectionOwner::windowIsLost() {
    Log("SelectionOwner").error("Another program has destroyed the window of a selection; it is made anew");
    makeWindow();
    if (isClaiming_) return requestTime();
    if (!isOwner_) return;
    // Whoever has taken the selection since then keeps it. Who did so in the millisecond in which we had
    // taken it isn't later by the server's clock, so the server is asked first.
    if (ownerNow() == XCB_WINDOW_NONE) take(time_);
    learnOutcome();
}

void SelectionOwner::offer(Offer offer) {
    offer_ = std::make_shared<const Offer>(std::move(offer));
    if (!std::exchange(isClaiming_, true)) requestTime();
}

void SelectionOwner::offerAsOf(xcb_timestamp_t time, Offer offer) {
    offer_ = std::make_shared<const Offer>(std::move(offer));
    take(time);
}

void SelectionOwner::withdraw() { offer_ = std::make_shared<const Offer>(); }

void SelectionOwner::answer() {
    for (const auto& request : std::exchange(heldRequests, {})) accept(request);
}

void SelectionOwner::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = xcb::as<xcb_property_notify_event_t>(event);
            if (change.atom != connection.atoms().clock || !isClaiming_) return;
            take(change.time);
            learnOutcome();
            isClaiming_ = false;
            if (claimed) claimed();
            return;
        }
        case XCB_DESTROY_NOTIFY:
            return windowIsLost();
        case XCB_SELECTION_CLEAR:
            return lost(xcb::as<xcb_selection_clear_event_t>(event).time);
        case XCB_SELECTION_REQUEST: {
            const auto& request = xcb::as<Request>(event);
            const auto isOfClient = [&,
                                     client = connection.clientOf(request.requestor)](const Request& held) {
                return connection.clientOf(held.requestor) == client;
            };
            if (mustWait && mustWait(request) &&
                std::ranges::count_if(heldRequests, isOfClient) < std::ptrdiff_t{requestsHeld}) {
                heldRequests.push_back(request);
            } else {
                accept(request);
            }
            return;
        }
        default:
            return;
    }
}

void SelectionOwner::requestTime() {
    // Appending nothing to a property changes nothing, but its announcement carries the time.
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_APPEND, window_->id(), connection.atoms().clock,
                        XCB_ATOM_INTEGER, 32, 0, nullptr);
    // Sent without delay, so that whoever copies after this moment counts as later.
    xcb_flush(connection.xcb());
}

void SelectionOwner::take(xcb_timestamp_t time) {
    time_ = time;
    isOwner_ = true;
    xcb_set_selection_owner(connection.xcb(), window_->id(), selection, time);
}

xcb_window_t SelectionOwner::ownerNow() const {
    const auto reply = xcb::await<xcb_get_selection_owner_reply>(
        connection.xcb(), xcb_get_selection_owner(connection.xcb(), selection));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

void SelectionOwner::learnOutcome() {
    // The server alone knows whether somebody was quicker (ICCCM 2.0 section 2.1).
    isOwner_ = ownerNow() == window_->id();
    if (!isOwner_) withdraw();
}

void SelectionOwner::lost(xcb_timestamp_t time) {
    // The loss of an earlier ownership is old news.
    if (isClaiming_ || isEarlier(time, time_)) return;
    isOwner_ = false;
    withdraw();
}

void SelectionOwner::accept(const Request& request) {
    const bool isBeforeUs = request.time != XCB_CURRENT_TIME && isEarlier(request.time, time_);
    const bool isTooMuch =
        connection.clientWork().countOf(connection.clientOf(request.requestor)) >= stepsWaiting;
    if (request.selection != selection || isBeforeUs || isTooMuch) {
        notify(connection, request, XCB_ATOM_NONE);
        return;
    }
    const auto property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    ++requestsWaiting;
    goOnLater(std::make_shared<Answer>(Answer{request, property, offer_, time_}));
}

void SelectionOwner::goOnLater(std::shared_ptr<Answer> answer) {
    const auto client = this->connection.clientOf(answer->request.requestor);
    this->connection.clientWork().add(
        client, [this, &connection = connection, alive = lifetime.watch(), answer = std::move(answer)] {
            if (!alive.expired()) return goOn(answer);
            notify(connection, answer->request, XCB_ATOM_NONE);
            return std::size_t{0};
        });
}

std::size_t SelectionOwner::goOn(const std::shared_ptr<Answer>& answer) {
    const auto& request = answer->request;
    if (request.target == connection.atoms().multiple) return goOnWithPairs(answer);
    const auto sent = convert(*answer, request.target, answer->property);
    --requestsWaiting;
    notify(connection, request, sent ? answer->property : xcb_atom_t{XCB_ATOM_NONE});
    return sent.value_or(0);
}

std::size_t SelectionOwner::goOnWithPairs(const std::shared_ptr<Answer>& answer) {
    const auto& request = answer->request;
    if (!answer->pairs && !readPairs(*answer)) {
        --requestsWaiting;
        notify(connection, request, XCB_ATOM_NONE);
        return 0;
    }
    auto& pairs = *answer->pairs;
    Sent sent;
    if (answer->pairsDone < pairs.size()) {
        const auto target = pairs[answer->pairsDone];
        auto& place = pairs[answer->pairsDone + 1];
        const bool isNested = target == connection.atoms().multiple || place == answer->property;
        if (!isNested && place != XCB_ATOM_NONE) sent = convert(*answer, target, place);
        if (!sent) place = XCB_ATOM_NONE;
        answer->pairsDone += 2;
    }
    if (answer->pairsDone < pairs.size()) {
        goOnLater(answer);
        return sent.value_or(0);
    }
    // A pair whose property has become None was refused (ICCCM 2.0 section 2.6.2).
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, request.requestor, answer->property,
                        connection.atoms().atomPair, 32, static_cast<std::uint32_t>(pairs.size()),
                        pairs.data());
    --requestsWaiting;
    notify(connection, request, answer->property);
    return sent.value_or(0);
}

bool SelectionOwner::readPairs(Answer& answer) {
    constexpr std::size_t words = 2 * pairsServed;
    if (answer.request.property == XCB_ATOM_NONE) return false;
    const auto reply = xcb::await<xcb_get_property_reply>(
        connection.xcb(), xcb_get_property(connection.xcb(), 0, answer.request.requestor, answer.property,
                                           XCB_GET_PROPERTY_TYPE_ANY, 0, words));
    if (!reply || reply->format != 32 || reply->bytes_after > 0) return false;
    auto& pairs = answer.pairs.emplace(static_cast<std::size_t>(reply->value_len) / 2 * 2);
    if (!pairs.empty()) {
        std::memcpy(pairs.data(), xcb_get_property_value(reply.get()), pairs.size() * sizeof(xcb_atom_t));
    }
    return true;
}

SelectionOwner::Sent SelectionOwner::convert(const Answer& answer, xcb_atom_t target, xcb_atom_t property) {
    const auto& atoms = connection.atoms();
    const auto requestor = answer.request.requestor;
    const auto put = [&](xcb_atom_t type, std::span<const std::uint32_t> values) {
        xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, requestor, property, type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
        return values.size_bytes();
    };
    if (target == atoms.timestamp) return put(XCB_ATOM_INTEGER, {&answer.time, 1});
    if (target == atoms.targets) {
        std::vector<xcb_atom_t> targets{atoms.targets, atoms.timestamp, atoms.multiple};
        for (const auto& one : answer.offer->representations()) targets.push_back(one.target);
        return put(XCB_ATOM_ATOM, targets);
    }
    const auto* representation = answer.offer->find(target);
    return representation ? send({requestor, property}, *representation) : std::nullopt;
}

SelectionOwner::Sent SelectionOwner::send(const IncrementalSending::Destination& destination,
                                          const Offer::Representation& representation) {
    // A requestor that asks again for the same place has given up on what was on its way there.
    transfers.remove_if([&](const auto& one) { return one->destination() == destination; });
    const auto bytes = representation.bytes();
    if (bytes.view.size() <= connection.pieceBytes()) {
        if (bytes.view.size() >= largeBytes && !isThere(destination.requestor)) return std::nullopt;
        xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, destination.requestor,
                            destination.property, representation.type, representation.format,
                            static_cast<std::uint32_t>(bytes.view.size() * 8 / representation.format),
                            bytes.view.data());
        return bytes.view.size();
    }
    const auto isOfClient = [&, client = connection.clientOf(destination.requestor)](const auto& one) {
        return connection.clientOf(one->destination().requestor) == client;
    };
    if (std::ranges::count_if(transfers, isOfClient) >= static_cast<std::ptrdiff_t>(limits.transfers)) {
        return std::nullopt;
    }
    auto transfer = IncrementalSending::begin(
        connection, destination, {representation.type, representation.format, bytes}, limits.sendSeconds,
        [this](IncrementalSending* ended) {
            transfers.remove_if([ended](const auto& one) { return one.get() == ended; });
        });
    if (!transfer) return std::nullopt;
    transfers.push_back(std::move(transfer));
    return sizeof(std::uint32_t);
}

bool SelectionOwner::isThere(xcb_window_t requestor) const {
    // The answer tells also that the server has taken what was sent before: whatever the person does next
    // waits for no more than this one value.
    return static_cast<bool>(
        xcb::await<xcb_get_geometry_reply>(connection.xcb(), xcb_get_geometry(connection.xcb(), requestor)));
}

}  // namespace vellumix::x11
