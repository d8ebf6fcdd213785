#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/desktop/EventTap.h"
#include "platform/x11/keys/HeldKey.h"
#include "platform/x11/keys/KeyGrabs.h"

namespace vellumix::x11 {

/// Event taps by grabs of the combinations that they may keep; no other key comes to them.
///
/// From a press to its answer the whole keyboard stands still, so the answer is given in the turn that the
/// press comes in, whatever the callback does, and nothing else is done before. A press that passes is played
/// again as if there were no grab. Of that, its program sees the focus go and come back by a grab, as with
/// every key that a window manager watches. The tap that is lost by a change of the keyboard is disabled as
/// by the user.
class EventTaps final : public vellumix::EventTaps {
public:
    /// Both must outlive it. `hasKeyboard`: whether keys go to a window of the program.
    EventTaps(Connection& connection, KeyGrabs& grabs, std::function<bool()> hasKeyboard = {});
    ~EventTaps() override;
    EventTaps(const EventTaps&) = delete;
    EventTaps& operator=(const EventTaps&) = delete;

    CFMachPortRef CGEventTapCreate(const CGEventTapDescription& tap) override;

private:
    struct Port;

    bool take(const xcb_key_press_event_t& event);
    /// Whether it passes.
    bool ask(const xcb_key_press_event_t& event, const Port& port);
    void lose(Port& port);
    void answer(xcb_allow_t where);
    void letGo();

    Connection& connection;
    KeyGrabs& grabs;
    std::function<bool()> hasKeyboard;
    std::vector<std::weak_ptr<Port>> ports;
    /// The key of a press that was kept, while it is down: the keyboard is ours then, and stands still at the
    /// next key.
    std::optional<xcb_keycode_t> kept;
    HeldKey held{connection};
    Lifetime lifetime;
};

}  // namespace vellumix::x11
