#include "platform/x11/SelectionOwner.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vellumix::x11 {

namespace {

constexpr std::size_t requestsHeld = 32;
/// Pairs of one MULTIPLE request; programs ask for two or three.
constexpr std::size_t pairsServed = 64;

/// Server times wrap round every 49.7 days (X protocol, section 4).
bool isEarlier(xcb_timestamp_t a, xcb_timestamp_t b) { return static_cast<std::int32_t>(a - b) < 0; }

}  // namespace

SelectionOwner::SelectionOwner(Connection& connection, xcb_atom_t selection, const TransferLimits& limits)
    : _connection(connection), _selection(selection), _limits(limits), _window(connection) {
    _events = connection.observe(_window.id(), [this](const auto& event) { handle(event); });
}

void SelectionOwner::offer(Offer offer) {
    _offer = std::move(offer);
    if (!std::exchange(_isClaiming, true)) requestTime();
}

void SelectionOwner::offerAsOf(xcb_timestamp_t time, Offer offer) {
    _offer = std::move(offer);
    take(time);
}

void SelectionOwner::withdraw() { _offer = {}; }

void SelectionOwner::answer() {
    _isHolding = false;
    for (const auto& request : std::exchange(_heldRequests, {})) serve(request);
}

void SelectionOwner::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = xcb::as<xcb_property_notify_event_t>(event);
            if (change.atom != _connection.atoms().clock || !_isClaiming) return;
            take(change.time);
            // The server alone knows whether somebody was quicker (ICCCM 2.0 section 2.1).
            const auto owner = xcb::await<xcb_get_selection_owner_reply>(
                _connection.xcb(), xcb_get_selection_owner(_connection.xcb(), _selection));
            _isOwner = owner && owner->owner == _window.id();
            _isClaiming = false;
            if (!_isOwner) withdraw();
            if (_claimed) _claimed();
            return;
        }
        case XCB_SELECTION_CLEAR:
            return lost(xcb::as<xcb_selection_clear_event_t>(event).time);
        case XCB_SELECTION_REQUEST: {
            const auto& request = xcb::as<Request>(event);
            if (_isHolding && _heldRequests.size() < requestsHeld) {
                _heldRequests.push_back(request);
            } else {
                serve(request);
            }
            return;
        }
        default:
            return;
    }
}

void SelectionOwner::requestTime() {
    // Appending nothing to a property changes nothing, but its announcement carries the time.
    xcb_change_property(_connection.xcb(), XCB_PROP_MODE_APPEND, _window.id(), _connection.atoms().clock,
                        XCB_ATOM_INTEGER, 32, 0, nullptr);
    // Sent without delay, so that whoever copies after this moment counts as later.
    xcb_flush(_connection.xcb());
}

void SelectionOwner::take(xcb_timestamp_t time) {
    _time = time;
    _isOwner = true;
    xcb_set_selection_owner(_connection.xcb(), _window.id(), _selection, time);
}

void SelectionOwner::lost(xcb_timestamp_t time) {
    // The loss of an earlier ownership is old news.
    if (_isClaiming || isEarlier(time, _time)) return;
    _isOwner = false;
    withdraw();
}

void SelectionOwner::serve(const Request& request) {
    const bool isBeforeUs = request.time != XCB_CURRENT_TIME && isEarlier(request.time, _time);
    // Clients older than ICCCM 2.0 name no property and mean the target's name (section 2.2).
    const auto property = request.property == XCB_ATOM_NONE ? request.target : request.property;
    const bool isServed = request.selection == _selection && !isBeforeUs &&
                          (request.target == _connection.atoms().multiple
                               ? request.property != XCB_ATOM_NONE && convertMultiple(request, property)
                               : convert(request, request.target, property));
    notify(request, isServed ? property : xcb_atom_t{XCB_ATOM_NONE});
}

bool SelectionOwner::convert(const Request& request, xcb_atom_t target, xcb_atom_t property) {
    const auto& atoms = _connection.atoms();
    const auto put = [&](xcb_atom_t type, std::span<const std::uint32_t> values) {
        xcb_change_property(_connection.xcb(), XCB_PROP_MODE_REPLACE, request.requestor, property, type, 32,
                            static_cast<std::uint32_t>(values.size()), values.data());
        return true;
    };
    if (target == atoms.timestamp) return put(XCB_ATOM_INTEGER, {&_time, 1});
    if (target == atoms.targets) {
        std::vector<xcb_atom_t> targets{atoms.targets, atoms.timestamp, atoms.multiple};
        for (const auto& one : _offer.representations()) targets.push_back(one.target);
        return put(XCB_ATOM_ATOM, targets);
    }
    const auto* representation = _offer.find(target);
    return representation && send({request.requestor, property}, *representation);
}

bool SelectionOwner::convertMultiple(const Request& request, xcb_atom_t property) {
    const auto& atoms = _connection.atoms();
    constexpr std::size_t words = 2 * pairsServed;
    const auto reply = xcb::await<xcb_get_property_reply>(
        _connection.xcb(), xcb_get_property(_connection.xcb(), 0, request.requestor, property,
                                            XCB_GET_PROPERTY_TYPE_ANY, 0, words));
    if (!reply || reply->format != 32 || reply->bytes_after > 0) return false;
    std::vector<xcb_atom_t> pairs(static_cast<std::size_t>(reply->value_len) / 2 * 2);
    if (!pairs.empty()) {
        std::memcpy(pairs.data(), xcb_get_property_value(reply.get()), pairs.size() * sizeof(xcb_atom_t));
    }
    for (std::size_t at = 0; at < pairs.size(); at += 2) {
        const auto target = pairs[at];
        auto& place = pairs[at + 1];
        const bool isNested = target == atoms.multiple || place == property;
        if (isNested || place == XCB_ATOM_NONE || !convert(request, target, place)) place = XCB_ATOM_NONE;
    }
    // A pair whose property has become None was refused (ICCCM 2.0 section 2.6.2).
    xcb_change_property(_connection.xcb(), XCB_PROP_MODE_REPLACE, request.requestor, property, atoms.atomPair,
                        32, static_cast<std::uint32_t>(pairs.size()), pairs.data());
    return true;
}

bool SelectionOwner::send(const IncrTransfer::Destination& destination,
                          const Offer::Representation& representation) {
    // A requestor that asks again for the same place has given up on what was on its way there.
    _transfers.remove_if([&](const auto& one) { return one->destination() == destination; });
    const auto bytes = representation.bytes();
    if (bytes.view.size() <= _connection.pieceBytes()) {
        xcb_change_property(_connection.xcb(), XCB_PROP_MODE_REPLACE, destination.requestor,
                            destination.property, representation.type, 8,
                            static_cast<std::uint32_t>(bytes.view.size()), bytes.view.data());
        return true;
    }
    if (_transfers.size() >= _limits.transfers) return false;
    auto transfer =
        IncrTransfer::begin(_connection, destination, representation.type, bytes, _limits.sendSeconds,
                            [this](IncrTransfer* ended) {
                                _transfers.remove_if([ended](const auto& one) { return one.get() == ended; });
                            });
    if (!transfer) return false;
    _transfers.push_back(std::move(transfer));
    return true;
}

void SelectionOwner::notify(const Request& request, xcb_atom_t property) {
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
    xcb_send_event(_connection.xcb(), 0, request.requestor, XCB_EVENT_MASK_NO_EVENT, answer.bytes);
}

}  // namespace vellumix::x11
