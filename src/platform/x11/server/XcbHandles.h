#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <type_traits>

#include "platform/foundation/memory/HandleDeleter.h"

/// The handles of XCB that this folder owns, one a line, and how events and replies are read.
namespace vellumix::x11::xcb {

using ConnectionHandle = std::unique_ptr<xcb_connection_t, HandleDeleter<xcb_disconnect>>;
using Event = std::unique_ptr<xcb_generic_event_t, HandleDeleter<std::free>>;
using Error = std::unique_ptr<xcb_generic_error_t, HandleDeleter<std::free>>;
template <class T>
using Reply = std::unique_ptr<T, HandleDeleter<std::free>>;

/// What kind of event it is, whether the server or another program sent it.
inline std::uint8_t typeOf(const xcb_generic_event_t& event) { return event.response_type & 0x7F; }

/// Another program has sent it.
inline bool isSent(const xcb_generic_event_t& event) { return (event.response_type & 0x80) != 0; }

/// The event as what `typeOf` says it is.
template <class T>
const T& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const T&>(event);
}

/// The X server's reply, or nothing for an error, which ends here. Waits for the server and for no other
/// program.
template <auto GetReply, class Cookie>
auto await(xcb_connection_t* connection, Cookie cookie) {
    xcb_generic_error_t* raw = nullptr;
    using Pointer = decltype(GetReply(connection, cookie, &raw));
    Reply<std::remove_pointer_t<Pointer>> reply(GetReply(connection, cookie, &raw));
    const Error dropped(raw);
    return reply;
}

/// True when the X server has carried out a checked request. Waits for the server.
inline bool succeeded(xcb_connection_t* connection, xcb_void_cookie_t cookie) {
    const Error error(xcb_request_check(connection, cookie));
    return !error && !xcb_connection_has_error(connection);
}

}  // namespace vellumix::x11::xcb
