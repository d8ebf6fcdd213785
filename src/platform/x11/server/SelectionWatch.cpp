#include "platform/x11/server/SelectionWatch.h"

#include <xcb/xfixes.h>

#include <utility>

#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

namespace {

/// More changes than `changesTold` within so many milliseconds of the server are a flood: no content can be
/// read as quickly as that.
constexpr int changesTold = 128;
constexpr xcb_timestamp_t floodMilliseconds = 50;
constexpr double pauseSeconds = 0.14;
/// A flood that goes on shows within this time.
constexpr double probeSeconds = 0.005;

}  // namespace

Observation SelectionWatch::observe(std::function<void(const SelectionChange&)> observer) {
    auto inner = std::make_shared<Observation>(observers.add(std::move(observer)));
    select();
    return Observation(lifetime.weakly([this, inner] {
        inner->cancel();
        select();
    }));
}

void SelectionWatch::select() const {
    constexpr std::uint32_t every = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                    XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    // Told to the root, which nobody can destroy.
    xcb_xfixes_select_selection_input(connection.xcb(), connection.root(), selection,
                                      state == State::pausing || observers.empty() ? 0 : every);
}

bool SelectionWatch::isBehind(const xcb_generic_event_t& event) const {
    // The server's numbers of requests wrap round.
    return !asked || static_cast<std::int32_t>(event.full_sequence - *asked) >= 0;
}

void SelectionWatch::count(const xcb_generic_event_t& event) {
    if (state == State::pausing || !isBehind(event)) return;
    const auto time = xcb::as<xcb_xfixes_selection_notify_event_t>(event).timestamp;
    if (time - changesSince > floodMilliseconds) {
        changesSince = time;
        changes = 0;
    }
    if (++changes > changesTold) pause();
}

void SelectionWatch::handle(const xcb_generic_event_t& event) {
    if (state != State::telling || !isBehind(event)) return;
    asked.reset();
    const auto& change = xcb::as<xcb_xfixes_selection_notify_event_t>(event);
    const bool isTaken = change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
    observers.notify({isTaken ? SelectionChange::Kind::taken : SelectionChange::Kind::ended, change.owner,
                      change.timestamp, change.selection_timestamp});
}

void SelectionWatch::pause() {
    const bool isNew = std::exchange(state, State::pausing) == State::telling;
    select();
    xcb_flush(connection.xcb());
    pauseEnd = connection.runLoop().oneShotTimer(pauseSeconds, [this] { probe(); });
    if (isNew) observers.notify({SelectionChange::Kind::tooMany});
}

void SelectionWatch::probe() {
    state = State::probing;
    changes = 0;
    select();
    asked = xcb_no_operation(connection.xcb()).sequence;
    xcb_flush(connection.xcb());
    pauseEnd = connection.runLoop().oneShotTimer(probeSeconds, [this] { resume(); });
}

void SelectionWatch::resume() {
    connection.lookAhead();
    if (state != State::probing) return;
    const auto cookie = xcb_get_selection_owner(connection.xcb(), selection);
    const auto reply = xcb::await<xcb_get_selection_owner_reply>(connection.xcb(), cookie);
    // Observers wait for the server themselves. In a flood that goes on they are told nothing.
    connection.lookAhead();
    if (state != State::probing) return;
    state = State::telling;
    asked = cookie.sequence;
    observers.notify({SelectionChange::Kind::present, reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE}});
}

}  // namespace vellumix::x11
