#include "platform/x11/selections/SavingService.h"

#include <utility>

namespace vellumix::x11 {

SavingService::SavingService(Connection& connection, const TransferLimits& limits,
                             std::function<bool(const SelectionOwner::Request&)> mustWait)
    : _connection(connection), _owner(connection, connection.atoms().clipboardManager, limits) {
    const auto present = xcb::await<xcb_get_selection_owner_reply>(
        connection.xcb(), xcb_get_selection_owner(connection.xcb(), connection.atoms().clipboardManager));
    if (!present || present->owner != XCB_WINDOW_NONE) return;
    _owner.whenClaimed([this] { announce(); });
    _owner.whenAsked([this, mustWait = std::move(mustWait)](const SelectionOwner::Request& request) {
        return request.target == _connection.atoms().saveTargets && mustWait(request);
    });
    // The answer has no content (type NULL); that it comes is what the program waits for.
    _owner.offer(
        Offer({{connection.atoms().saveTargets, connection.atoms().null, [] { return SharedBytes(); }}}));
}

void SavingService::announce() {
    if (!_owner.isOwner()) return;
    // Programs that started earlier wait for this message (ICCCM 2.0 section 2.8).
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = _connection.root();
    message.type = _connection.atoms().manager;
    message.data.data32[0] = _owner.time();
    message.data.data32[1] = _connection.atoms().clipboardManager;
    message.data.data32[2] = _owner.window();
    xcb_send_event(_connection.xcb(), 0, _connection.root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

}  // namespace vellumix::x11
