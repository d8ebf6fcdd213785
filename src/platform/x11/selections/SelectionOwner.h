#pragma once

#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <vector>

#include "platform/x11/selections/IncrementalSending.h"
#include "platform/x11/selections/Offer.h"
#include "platform/x11/selections/TransferLimits.h"
#include "platform/x11/server/Window.h"

namespace vellumix::x11 {

/// Our ownership of one selection: takes it, and answers requests as ICCCM 2.0 sections 2.1 to 2.6 ask,
/// TARGETS, TIMESTAMP and MULTIPLE included.
///
/// Requests are answered between the person's own affairs, the clients in turn, each with what was offered
/// when it came; none can hold the others or the loop. One that asks for too much at a time is refused the
/// rest, and nobody else is. A value that was begun goes on to its end after the selection is lost.
///
/// When another program destroys the window of the selection, the offer moves to a new one, unless somebody
/// else has taken the selection.
class SelectionOwner {
public:
    SelectionOwner(Connection& connection, xcb_atom_t selection, const TransferLimits& limits);
    SelectionOwner(const SelectionOwner&) = delete;
    SelectionOwner& operator=(const SelectionOwner&) = delete;

    xcb_window_t window() const { return window_->id(); }

    /// Offers this from now on and takes the selection at the server's present time, which takes one turn to
    /// learn: offers that follow each other at once are one ownership. `claimed` is called, from the loop,
    /// when the server has decided.
    void offer(Offer offer);
    /// Takes the selection as of an earlier time: does nothing if anybody has taken it since.
    void offerAsOf(xcb_timestamp_t time, Offer offer);
    /// Offers nothing any more.
    void withdraw();
    bool isClaiming() const { return isClaiming_; }
    bool isOwner() const { return isOwner_; }
    /// The time since which we own the selection.
    xcb_timestamp_t time() const { return time_; }
    void whenClaimed(std::function<void()> claimed) { this->claimed = std::move(claimed); }

    using Request = xcb_selection_request_event_t;
    /// Is asked of each request before it is accepted; true lets it wait until `answer`. Only so many of one
    /// client wait, its further ones don't.
    void whenAsked(std::function<bool(const Request&)> mustWait) { this->mustWait = std::move(mustWait); }
    /// Accepts the requests that wait.
    void answer();

    /// Values that are still under way to requestors, and requests that wait.
    std::size_t activeTransfers() const { return transfers.size() + requestsWaiting; }

private:
    struct Answer;
    /// How many bytes were sent; nothing when it is refused.
    using Sent = std::optional<std::size_t>;

    void handle(const xcb_generic_event_t& event);
    void requestTime();
    void take(xcb_timestamp_t time);
    /// As the server has it; none where nobody has the selection.
    xcb_window_t ownerNow() const;
    /// Whether the server has given the selection to us.
    void learnOutcome();
    void makeWindow();
    void windowIsLost();
    void lost(xcb_timestamp_t time);
    void accept(const Request& request);
    void goOnLater(std::shared_ptr<Answer> answer);
    std::size_t goOn(const std::shared_ptr<Answer>& answer);
    std::size_t goOnWithPairs(const std::shared_ptr<Answer>& answer);
    bool readPairs(Answer& answer);
    Sent convert(const Answer& answer, xcb_atom_t target, xcb_atom_t property);
    Sent send(const IncrementalSending::Destination& destination,
              const Offer::Representation& representation);
    bool isThere(xcb_window_t requestor) const;

    Connection& connection;
    const xcb_atom_t selection;
    const TransferLimits limits;
    std::unique_ptr<Window> window_;
    std::shared_ptr<const Offer> offer_;
    bool isClaiming_ = false;
    bool isOwner_ = false;
    xcb_timestamp_t time_ = XCB_CURRENT_TIME;
    std::function<void()> claimed;
    std::function<bool(const Request&)> mustWait;
    std::deque<Request> heldRequests;
    std::size_t requestsWaiting = 0;
    std::list<std::unique_ptr<IncrementalSending>> transfers;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
