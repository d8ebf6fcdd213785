#include "platform/x11/selections/SavingService.h"

#include <utility>

namespace vellumix::x11 {

SavingService::SavingService(Connection& connection, const TransferLimits& limits,
                             std::function<bool(const SelectionOwner::Request&)> mustWait)
    : connection(connection), owner(connection, connection.atoms().clipboardManager, limits) {
    const auto present = xcb::await<xcb_get_selection_owner_reply>(
        connection.xcb(), xcb_get_selection_owner(connection.xcb(), connection.atoms().clipboardManager));
    if (!present || present->owner != XCB_WINDOW_NONE) return;
    owner.whenClaimed([this] { announce(); });
    owner.whenAsked([this, mustWait = std::move(mustWait)](const SelectionOwner::Request& request) {
        return request.target == this->connection.atoms().saveTargets && mustWait(request);
    });
    // The answer has no content (type NULL); that it comes is what the program waits for.
    owner.offer(
        Offer({{connection.atoms().saveTargets, connection.atoms().null, [] { return SharedBytes(); }}}));
}

void SavingService::announce() {
    if (!owner.isOwner()) return;
    // Programs that started earlier wait for this message (ICCCM 2.0 section 2.8).
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = connection.root();
    message.type = connection.atoms().manager;
    message.data.data32[0] = owner.time();
    message.data.data32[1] = connection.atoms().clipboardManager;
    message.data.data32[2] = owner.window();
    xcb_send_event(connection.xcb(), 0, connection.root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

}  // namespace vellumix::x11
