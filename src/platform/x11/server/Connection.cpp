#include "platform/x11/server/Connection.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/foundation/text/LocalizedText.h"
#include "platform/x11/server/RootProperties.h"

namespace vellumix::x11 {

namespace {

/// So many events are handled before the loop serves its other sources: no program can hold it by sending
/// more.
constexpr std::size_t eventsATurn = 256;
/// Names of atoms that are kept. Atoms are never freed by the server, but another program can make any
/// number.
constexpr std::size_t namesKept = 4096;
constexpr std::size_t preferredPieceBytes = std::size_t{1} << 20;
constexpr int firstExtensionEvent = 64;
/// A ChangeProperty request without its data (X protocol, appendix B), with the longer length field.
constexpr std::size_t requestOverhead = 28;

/// Whether another program has sent the event instead of the server (X protocol, section 10, "SendEvent") and
/// has no business to: it could type, press and end selections in the user's name. The conventions have
/// programs send these three kinds alone: answers to requests for selections, messages, and what a window
/// manager says of a window's place (ICCCM 2.0 sections 2.2, 4.1.5 and 4.2.8).
bool isForged(const xcb_generic_event_t& event) {
    if (!xcb::isSent(event)) return false;
    const auto type = xcb::typeOf(event);
    return type != XCB_SELECTION_NOTIFY && type != XCB_CLIENT_MESSAGE && type != XCB_CONFIGURE_NOTIFY;
}

}  // namespace

struct Connection::Start {
    xcb_window_t root;
    Atoms atoms;
    std::size_t pieceBytes;
    std::uint8_t xfixesFirstEvent;
};

std::unique_ptr<Connection> Connection::open(linux_desktop::GLibRunLoop& runLoop, std::string& error) {
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display) {
        error = localized("display.none");
        return nullptr;
    }
    int screenNumber = 0;
    xcb::ConnectionHandle handle(xcb_connect(nullptr, &screenNumber));
    auto* const connection = handle.get();
    if (xcb_connection_has_error(connection)) {
        error = localized("display.unreachable", display);
        return nullptr;
    }
    // Everything is asked for before the first answer is awaited: a start costs two trips to the server.
    xcb_prefetch_extension_data(connection, &xcb_xfixes_id);
    xcb_prefetch_maximum_request_length(connection);
    AtomRequest atoms(connection);
    Start start{};
    start.atoms = atoms.collect();

    const auto* xfixes = xcb_get_extension_data(connection, &xcb_xfixes_id);
    const auto version = xfixes && xfixes->present
                             ? xcb::await<xcb_xfixes_query_version_reply>(
                                   connection, xcb_xfixes_query_version(connection, 5, 0))
                             : nullptr;
    if (!version || version->major_version < 1) {
        error = localized("display.noXFixes");
        return nullptr;
    }
    start.xfixesFirstEvent = xfixes->first_event;

    const std::size_t longestRequest = std::size_t{xcb_get_maximum_request_length(connection)} * 4;
    start.pieceBytes = std::min(preferredPieceBytes, longestRequest - requestOverhead) / 4 * 4;

    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (screenNumber-- > 0 && screens.rem > 1) xcb_screen_next(&screens);
    start.root = screens.data->root;
    return std::unique_ptr<Connection>(new Connection(runLoop, std::move(handle), start));
}

Connection::Connection(linux_desktop::GLibRunLoop& runLoop, xcb::ConnectionHandle handle, const Start& start)
    : runLoop_(runLoop),
      xcb_(std::move(handle)),
      root_(start.root),
      atoms_(start.atoms),
      pieceBytes_(start.pieceBytes),
      xfixesFirstEvent(start.xfixesFirstEvent),
      clientWork_(runLoop) {
    watch = runLoop.watch(
        xcb_get_file_descriptor(xcb_.get()), [this] { return prepare(); }, [this] { dispatch(); });
    rootProperties_ = std::make_unique<RootProperties>(*this);
}

Connection::~Connection() = default;

ClientWork::Client Connection::clientOf(xcb_window_t window) const {
    // The server gives each client a range of its own for the identifiers that it makes (X protocol, section
    // 8).
    return window & ~xcb_get_setup(xcb())->resource_id_mask;
}

bool Connection::isOurs(xcb_window_t window) const {
    return clientOf(window) == xcb_get_setup(xcb())->resource_id_base;
}

SelectionWatch* Connection::watchOf(const xcb_generic_event_t& event) {
    if (event.response_type != xfixesFirstEvent + XCB_XFIXES_SELECTION_NOTIFY) return nullptr;
    const auto found = selectionWatches.find(xcb::as<xcb_xfixes_selection_notify_event_t>(event).selection);
    return found == selectionWatches.end() ? nullptr : &found->second;
}

Observation Connection::observe(xcb_window_t window, EventHandler handler) {
    auto inner = std::make_shared<Observation>(handlers[window].add(std::move(handler)));
    return Observation(lifetime.weakly([this, window, inner] {
        inner->cancel();
        const auto found = handlers.find(window);
        if (found != handlers.end() && found->second.empty()) handlers.erase(found);
    }));
}

std::optional<Observation> Connection::observeForeign(xcb_window_t window, EventHandler handler) {
    if (foreignWindows.find(window) == foreignWindows.end()) {
        foreignWindows[window] = 0;
        // Checked, as a window that is gone already would never announce its end.
        if (!xcb::succeeded(xcb(), selectForeign(window))) {
            foreignWindows.erase(window);
            return std::nullopt;
        }
    }
    ++foreignWindows[window];
    auto inner = std::make_shared<Observation>(observe(window, std::move(handler)));
    return Observation(lifetime.weakly([this, window, inner] {
        inner->cancel();
        releaseForeign(window);
    }));
}

void Connection::releaseForeign(xcb_window_t window) {
    const auto found = foreignWindows.find(window);
    if (found == foreignWindows.end() || --found->second > 0) return;
    foreignWindows.erase(found);
    // Otherwise each later change of that window would wake this program for nothing.
    xcb_discard_reply(xcb(), selectForeign(window).sequence);
}

xcb_void_cookie_t Connection::selectForeign(xcb_window_t window) const {
    std::uint32_t mask = XCB_EVENT_MASK_NO_EVENT;
    if (foreignWindows.contains(window)) {
        mask |= XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    }
    if (window == root_ && !childHandlers.empty()) mask |= XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    return xcb_change_window_attributes_checked(xcb(), window, XCB_CW_EVENT_MASK, &mask);
}

Observation Connection::observeChildrenOfRoot(EventHandler handler) {
    auto inner = std::make_shared<Observation>(childHandlers.add(std::move(handler)));
    xcb_discard_reply(xcb(), selectForeign(root_).sequence);
    return Observation(lifetime.weakly([this, inner] {
        inner->cancel();
        xcb_discard_reply(xcb(), selectForeign(root_).sequence);
    }));
}

Observation Connection::observeEnd(std::function<void()> handler) {
    return endHandlers.add(std::move(handler));
}

Observation Connection::observeSelection(xcb_atom_t selection, SelectionHandler handler) {
    return selectionWatches.try_emplace(selection, *this, selection)
        .first->second.observe(std::move(handler));
}

std::vector<std::string> Connection::names(std::span<const xcb_atom_t> atoms) {
    std::unordered_map<xcb_atom_t, xcb_get_atom_name_cookie_t> asked;
    if (names_.size() + atoms.size() > namesKept) names_.clear();
    for (const auto atom : atoms) {
        if (!names_.count(atom) && !asked.count(atom)) asked[atom] = xcb_get_atom_name(xcb(), atom);
    }
    for (const auto& [atom, cookie] : asked) {
        const auto reply = xcb::await<xcb_get_atom_name_reply>(xcb(), cookie);
        names_[atom] = reply
                           ? std::string(xcb_get_atom_name_name(reply.get()),
                                         static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get())))
                           : std::string();
    }
    std::vector<std::string> names;
    names.reserve(atoms.size());
    for (const auto atom : atoms) names.push_back(names_[atom]);
    return names;
}

std::vector<std::uint32_t> Connection::numbers(xcb_window_t window, xcb_atom_t property, std::uint32_t most) {
    const auto reply = xcb::await<xcb_get_property_reply>(
        xcb(), xcb_get_property(xcb(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, most));
    if (!reply || reply->format != 32) return {};
    std::vector<std::uint32_t> values(reply->value_len);
    if (!values.empty()) {
        std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * sizeof values[0]);
    }
    return values;
}

bool Connection::isSameClient(xcb_window_t a, xcb_window_t b) const { return clientOf(a) == clientOf(b); }

bool Connection::prepare() {
    // Whatever was requested since the last turn goes out here, once, before the loop sleeps.
    xcb_flush(xcb());
    if (due.empty() && !readAhead) readAhead.reset(xcb_poll_for_queued_event(xcb()));
    return !due.empty() || readAhead || xcb_connection_has_error(xcb());
}

void Connection::lookAhead() {
    while (due.size() < eventsATurn) {
        auto event = std::exchange(readAhead, nullptr);
        if (!event) event.reset(xcb_poll_for_event(xcb()));
        if (!event) return;
        if (auto* const selection = watchOf(*event)) selection->count(*event);
        due.push_back(std::move(event));
    }
}

void Connection::dispatch() {
    lookAhead();
    for (std::size_t handled = 0; handled < eventsATurn && !due.empty(); ++handled) {
        const auto event = std::move(due.front());
        due.pop_front();
        deliver(*event);
    }
    if (!xcb_connection_has_error(xcb())) return;
    watch.cancel();
    runLoop_.post(lifetime.weakly([this] { endHandlers.notify(); }));
}

void Connection::deliver(const xcb_generic_event_t& event) {
    if (isForged(event)) return;
    everyHandlers.notify(event);
    if (auto* const selection = watchOf(event)) return selection->handle(event);
    const bool isCore = xcb::typeOf(event) < firstExtensionEvent && xcb::typeOf(event) != XCB_GE_GENERIC;
    if (!isCore) {
        extensionHandlers.notify(event);
        return;
    }
    if (isOfChildOfRoot(event)) {
        childHandlers.notify(event);
        return;
    }
    if (xcb::typeOf(event) == XCB_KEY_PRESS || xcb::typeOf(event) == XCB_KEY_RELEASE) {
        const auto& key = xcb::as<xcb_key_press_event_t>(event);
        // What is kept may be what the user types elsewhere: whoever keeps it says when it was for us.
        if (keyFilter && keyFilter(key)) return;
        if (xcb::typeOf(event) == XCB_KEY_PRESS) userActed(key.time);
    }
    const auto found = handlers.find(addresseeOf(event));
    if (found != handlers.end()) found->second.notify(event);
}

bool Connection::isOfChildOfRoot(const xcb_generic_event_t& event) const {
    if (xcb::typeOf(event) < XCB_CREATE_NOTIFY || xcb::typeOf(event) > XCB_CIRCULATE_NOTIFY) return false;
    // These begin alike: with the window that tells of it, and the window that it happened to.
    const auto& change = xcb::as<xcb_map_notify_event_t>(event);
    return change.event == root_ && change.window != root_;
}

xcb_window_t Connection::addresseeOf(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_PROPERTY_NOTIFY:
            return xcb::as<xcb_property_notify_event_t>(event).window;
        case XCB_DESTROY_NOTIFY:
            return xcb::as<xcb_destroy_notify_event_t>(event).event;
        case XCB_SELECTION_NOTIFY:
            return xcb::as<xcb_selection_notify_event_t>(event).requestor;
        case XCB_SELECTION_REQUEST:
            return xcb::as<xcb_selection_request_event_t>(event).owner;
        case XCB_SELECTION_CLEAR:
            return xcb::as<xcb_selection_clear_event_t>(event).owner;
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE:
            return xcb::as<xcb_key_press_event_t>(event).event;
        case XCB_BUTTON_PRESS:
            return xcb::as<xcb_button_press_event_t>(event).event;
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT:
            return xcb::as<xcb_focus_in_event_t>(event).event;
        case XCB_EXPOSE:
            return xcb::as<xcb_expose_event_t>(event).window;
        case XCB_CONFIGURE_NOTIFY:
            return xcb::as<xcb_configure_notify_event_t>(event).event;
        case XCB_MAP_NOTIFY:
            return xcb::as<xcb_map_notify_event_t>(event).event;
        case XCB_UNMAP_NOTIFY:
            return xcb::as<xcb_unmap_notify_event_t>(event).event;
        case XCB_REPARENT_NOTIFY:
            return xcb::as<xcb_reparent_notify_event_t>(event).event;
        case XCB_CLIENT_MESSAGE:
            return xcb::as<xcb_client_message_event_t>(event).window;
        default:
            return XCB_WINDOW_NONE;
    }
}

}  // namespace vellumix::x11
