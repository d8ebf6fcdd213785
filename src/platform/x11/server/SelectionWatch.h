#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"

namespace vellumix::x11 {

class Connection;

/// What is told of a selection's owner.
struct SelectionChange {
    enum class Kind {
        /// A program has taken the selection, or given it up: then `owner` is None.
        taken,
        /// The owner's window or program is gone.
        ended,
        /// The changes come faster than anybody could look at them. Nothing is told until `present`.
        tooMany,
        /// Who has the selection after a time in which nothing was told; no times are known.
        present,
    };
    Kind kind;
    xcb_window_t owner = XCB_WINDOW_NONE;
    /// The server's times of the change, and since when the owner had the selection.
    xcb_timestamp_t time = XCB_CURRENT_TIME;
    xcb_timestamp_t ownedSince = XCB_CURRENT_TIME;
};

/// Has the server announce the changes of one selection's owner (XFixes 5.0 section 7).
///
/// A program can make a million of them in a second, and the server keeps what isn't read: answers come
/// behind it, and memory grows. In such a flood nothing is announced for a seventh of a second at a time.
class SelectionWatch {
public:
    SelectionWatch(Connection& connection, xcb_atom_t selection)
        : connection(connection), selection(selection) {}
    SelectionWatch(const SelectionWatch&) = delete;
    SelectionWatch& operator=(const SelectionWatch&) = delete;

    Observation observe(std::function<void(const SelectionChange&)> observer);
    /// An announcement of the selection has come, and will be handled behind others that came before it.
    void count(const xcb_generic_event_t& event);
    void handle(const xcb_generic_event_t& event);

private:
    enum class State {
        telling,
        /// Nothing is announced to us.
        pausing,
        /// It is, to find out whether the flood goes on.
        probing,
    };

    bool isBehind(const xcb_generic_event_t& event) const;
    void select() const;
    void pause();
    void probe();
    void resume();

    Connection& connection;
    const xcb_atom_t selection;
    ObserverList<const SelectionChange&> observers;
    /// Changes since that time of the server.
    int changes = 0;
    xcb_timestamp_t changesSince = XCB_CURRENT_TIME;
    State state = State::telling;
    /// The number of a request: nothing counts that the server announced before it. None when all is behind
    /// it.
    std::optional<std::uint32_t> asked;
    std::unique_ptr<NSTimer> pauseEnd;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
