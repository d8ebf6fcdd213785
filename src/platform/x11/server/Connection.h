#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/x11/server/Atoms.h"
#include "platform/x11/server/ClientWork.h"
#include "platform/x11/server/SelectionWatch.h"
#include "platform/x11/server/XcbHandles.h"

namespace vellumix::x11 {

class RootProperties;

/// The connection to the X server: requests go out before the loop sleeps, events come in through it.
///
/// Main thread only. Events that another program has forged reach nobody. Errors of requests whose reply
/// nobody awaits end here, as another program's window may go at any moment. After the server has ended,
/// requests do nothing and replies are absent. Everything that uses a connection goes before it.
class Connection {
public:
    using EventHandler = std::function<void(const xcb_generic_event_t&)>;
    using SelectionHandler = std::function<void(const SelectionChange&)>;

    /// Connects to the display that the environment names. Nothing without a display, or without the XFixes
    /// extension; `error` is then one sentence for a person.
    static std::unique_ptr<Connection> open(linux_desktop::GLibRunLoop& runLoop, std::string& error);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    xcb_connection_t* xcb() const { return xcb_.get(); }
    RunLoop& runLoop() const { return runLoop_; }
    xcb_window_t root() const { return root_; }
    const Atoms& atoms() const { return atoms_; }
    /// The largest piece of a property that goes out in one request, in bytes; a multiple of 4.
    std::size_t pieceBytes() const { return pieceBytes_; }
    /// Whether the window was made by this connection.
    bool isOurs(xcb_window_t window) const;
    /// Which client of the server has made the window, ourselves among them; as a number without further
    /// meaning.
    ClientWork::Client clientOf(xcb_window_t window) const;
    /// What other programs have this one do for them.
    ClientWork& clientWork() { return clientWork_; }
    /// What the desktop tells by the root window. Nobody else asks for changes of its properties.
    RootProperties& rootProperties() { return *rootProperties_; }

    /// Calls the handler with each event that concerns the window. Does not change what the window selects.
    Observation observe(xcb_window_t window, EventHandler handler);
    /// The same for a window of the server or of another program, with its property changes and its end
    /// selected for as long as anybody observes it so. Nothing when the window is gone. Waits for the server
    /// where nobody observes the window yet.
    std::optional<Observation> observeForeign(xcb_window_t window, EventHandler handler);
    /// Calls the handler with each change of the selection's owner, or, in a flood of them, with the outcome.
    Observation observeSelection(xcb_atom_t selection, SelectionHandler handler);
    /// Calls the handler with each event of the root's children themselves, of any program: made, mapped,
    /// moved and so on. Nobody else hears of these.
    Observation observeChildrenOfRoot(EventHandler handler);
    /// Calls the handler with each event that an extension has defined (X protocol, section 1; XGE 1.0), but
    /// for those of XFixes, which concern a window.
    Observation observeExtensions(EventHandler handler) { return extensionHandlers.add(std::move(handler)); }
    /// Calls the handler with each event, before those whom it concerns.
    Observation observeEvery(EventHandler handler) { return everyHandlers.add(std::move(handler)); }
    /// Asks about each press and release of a key before anybody else hears of it; true keeps it from them.
    void filterKeys(std::function<bool(const xcb_key_press_event_t&)> filter) {
        keyFilter = std::move(filter);
    }
    /// Lets floods among what has come be noticed before anybody waits for the server behind them.
    void lookAhead();
    /// Calls the handler once, from the loop, after the server has gone.
    Observation observeEnd(std::function<void()> handler);

    /// The server's time of the last thing that the user did with the program; 0 before the first. Window
    /// managers ask for it (Extended Window Manager Hints 1.5, "_NET_ACTIVE_WINDOW").
    xcb_timestamp_t userTime() const { return userTime_; }
    void userActed(xcb_timestamp_t time) { userTime_ = time; }

    /// The numbers of a window's property, no more than that many; none where it has no such property. Waits
    /// for the server.
    std::vector<std::uint32_t> numbers(xcb_window_t window, xcb_atom_t property, std::uint32_t most);
    /// Whether one program has made both windows: by how the server gives out their ids (X protocol, section
    /// 8).
    bool isSameClient(xcb_window_t a, xcb_window_t b) const;
    /// The names of the atoms, in order; an atom that doesn't exist has an empty name. Waits for the server,
    /// once for all that aren't known yet.
    std::vector<std::string> names(std::span<const xcb_atom_t> atoms);

private:
    struct Start;
    Connection(linux_desktop::GLibRunLoop& runLoop, xcb::ConnectionHandle handle, const Start& start);

    bool prepare();
    void dispatch();
    void deliver(const xcb_generic_event_t& event);
    /// Whose announcement the event is; null for other events.
    SelectionWatch* watchOf(const xcb_generic_event_t& event);
    /// The window whose observers hear of the event; none for an event that nobody observes.
    static xcb_window_t addresseeOf(const xcb_generic_event_t& event);
    bool isOfChildOfRoot(const xcb_generic_event_t& event) const;
    /// The events of another program's window that anybody observes.
    xcb_void_cookie_t selectForeign(xcb_window_t window) const;
    void releaseForeign(xcb_window_t window);

    RunLoop& runLoop_;
    xcb::ConnectionHandle xcb_;
    xcb_window_t root_;
    Atoms atoms_;
    std::size_t pieceBytes_;
    std::uint8_t xfixesFirstEvent;
    xcb::Event readAhead;
    /// Events that have been looked at, and are to be delivered.
    std::deque<xcb::Event> due;
    std::unordered_map<xcb_window_t, ObserverList<const xcb_generic_event_t&>> handlers;
    std::unordered_map<xcb_window_t, std::size_t> foreignWindows;
    std::unordered_map<xcb_atom_t, std::string> names_;
    std::unordered_map<xcb_atom_t, SelectionWatch> selectionWatches;
    ObserverList<const xcb_generic_event_t&> childHandlers;
    ObserverList<const xcb_generic_event_t&> extensionHandlers;
    ObserverList<const xcb_generic_event_t&> everyHandlers;
    std::function<bool(const xcb_key_press_event_t&)> keyFilter;
    xcb_timestamp_t userTime_ = XCB_CURRENT_TIME;
    ClientWork clientWork_;
    ObserverList<> endHandlers;
    std::unique_ptr<RootProperties> rootProperties_;
    Observation watch;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
