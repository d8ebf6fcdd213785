#pragma once

#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "platform/x11/IncrTransfer.h"
#include "platform/x11/Offer.h"
#include "platform/x11/TransferLimits.h"
#include "platform/x11/Window.h"

namespace vellumix::x11 {

/// Our ownership of one selection: takes it, and answers requests as ICCCM 2.0 sections 2.1 to 2.6 ask,
/// TARGETS, TIMESTAMP and MULTIPLE included.
///
/// Any number of requestors is served at a time; none can hold the others or the loop. A value that was begun
/// goes on to its end after the selection is lost.
class SelectionOwner {
public:
    SelectionOwner(Connection& connection, xcb_atom_t selection, const TransferLimits& limits);
    SelectionOwner(const SelectionOwner&) = delete;
    SelectionOwner& operator=(const SelectionOwner&) = delete;

    xcb_window_t window() const { return _window.id(); }

    /// Offers this from now on and takes the selection at the server's present time, which takes one turn to
    /// learn: offers that follow each other at once are one ownership. `claimed` is called, from the loop,
    /// when the server has decided.
    void offer(Offer offer);
    /// Takes the selection as of an earlier time: does nothing if anybody has taken it since.
    void offerAsOf(xcb_timestamp_t time, Offer offer);
    /// Offers nothing any more.
    void withdraw();
    bool isClaiming() const { return _isClaiming; }
    bool isOwner() const { return _isOwner; }
    /// The time since which we own the selection.
    xcb_timestamp_t time() const { return _time; }
    void whenClaimed(std::function<void()> claimed) { _claimed = std::move(claimed); }

    /// Requests wait until `answer`; only so many of them, the further ones are answered at once.
    void hold() { _isHolding = true; }
    void answer();

    /// Values that are still under way to requestors.
    std::size_t activeTransfers() const { return _transfers.size(); }

private:
    using Request = xcb_selection_request_event_t;

    void handle(const xcb_generic_event_t& event);
    void requestTime();
    void take(xcb_timestamp_t time);
    void lost(xcb_timestamp_t time);
    void serve(const Request& request);
    bool convert(const Request& request, xcb_atom_t target, xcb_atom_t property);
    bool convertMultiple(const Request& request, xcb_atom_t property);
    bool send(const IncrTransfer::Destination& destination, const Offer::Representation& representation);
    void notify(const Request& request, xcb_atom_t property);

    Connection& _connection;
    const xcb_atom_t _selection;
    const TransferLimits _limits;
    Window _window;
    Offer _offer;
    bool _isClaiming = false;
    bool _isOwner = false;
    bool _isHolding = false;
    xcb_timestamp_t _time = XCB_CURRENT_TIME;
    std::function<void()> _claimed;
    std::deque<Request> _heldRequests;
    std::list<std::unique_ptr<IncrTransfer>> _transfers;
    Observation _events;
};

}  // namespace vellumix::x11
