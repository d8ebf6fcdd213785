#include "platform/x11/keys/KeyGrabs.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

constexpr double retrySeconds = 3;

}  // namespace

KeyGrabs::Grab::Grab(KeyGrabs& owner, const Combination& combination, Manner manner,
                     std::function<void()> onLoss)
    : owner(owner), combination(combination), manner(manner), onLoss(std::move(onLoss)) {}

KeyGrabs::Grab::~Grab() {
    std::erase(owner.grabs, this);
    if (isHeld_) owner.release(*this);
}

bool KeyGrabs::Grab::isPressedBy(const xcb_key_press_event_t& event) const {
    // The rest of the state are the buttons of the pointer and the layout.
    const int held = event.state & 0xFF & ~owner.modifiers.locks();
    return combination.key == event.detail && held == owner.modifiers.maskOf(combination.modifiers);
}

KeyGrabs::KeyGrabs(Connection& connection, KeyboardMap& keyboard)
    : connection(connection), keyboard(keyboard), modifiers(keyboard.modifiers()) {
    connection.filterKeys([this](const auto& event) { return filter(event); });
    changes = this->keyboard.observe([this] { keyboardChanged(); });
}

KeyGrabs::~KeyGrabs() { connection.filterKeys({}); }

std::unique_ptr<KeyGrabs::Grab> KeyGrabs::grab(const Combination& combination, Manner manner,
                                               std::function<void()> onLoss) {
    // The server would let one program grab a key twice, and the first to let it go would end both.
    const bool isOurs = std::ranges::any_of(grabs, [&](const Grab* one) {
        return one->combination.key == combination.key &&
               modifiers.maskOf(one->combination.modifiers) == modifiers.maskOf(combination.modifiers);
    });
    std::unique_ptr<Grab> grab(new Grab(*this, combination, manner, std::move(onLoss)));
    if (isOurs || !take(*grab)) return nullptr;
    grab->isHeld_ = true;
    grabs.push_back(grab.get());
    return grab;
}

void KeyGrabs::setFilter(Manner manner, Filter filter) {
    (manner == Manner::asked ? askedFilter : takenFilter) = std::move(filter);
}

bool KeyGrabs::filter(const xcb_key_press_event_t& event) const {
    return (askedFilter && askedFilter(event)) || (takenFilter && takenFilter(event));
}

void KeyGrabs::without(xcb_keycode_t key, const std::function<void()>& press) {
    std::vector<const Grab*> inTheWay;
    for (const auto* grab : grabs) {
        if (grab->isHeld_ && grab->combination.key == key) inTheWay.push_back(grab);
    }
    if (inTheWay.empty()) return press();
    // For as long as the server takes to read these requests.
    xcb_grab_server(connection.xcb());
    for (const auto* grab : inTheWay) release(*grab);
    press();
    for (const auto* grab : inTheWay) {
        for (const auto& cookie : request(*grab)) xcb_discard_reply(connection.xcb(), cookie.sequence);
    }
    xcb_ungrab_server(connection.xcb());
    xcb_flush(connection.xcb());
}

std::vector<ModifierMap::Mask> KeyGrabs::statesOf(const Grab& grab) const {
    using Mask = ModifierMap::Mask;
    const auto wanted = modifiers.maskOf(grab.combination.modifiers);
    std::vector<Mask> states;
    // Every subset of the locks.
    for (Mask locks = modifiers.locks();; locks = static_cast<Mask>((locks - 1) & modifiers.locks())) {
        states.push_back(static_cast<Mask>(wanted | locks));
        if (locks == 0) return states;
    }
}

std::vector<xcb_void_cookie_t> KeyGrabs::request(const Grab& grab) {
    const std::uint8_t mode = grab.manner == Manner::asked ? XCB_GRAB_MODE_SYNC : XCB_GRAB_MODE_ASYNC;
    std::vector<xcb_void_cookie_t> requests;
    for (const auto state : statesOf(grab)) {
        requests.push_back(xcb_grab_key_checked(connection.xcb(), 0, connection.root(), state,
                                                grab.combination.key, XCB_GRAB_MODE_ASYNC, mode));
    }
    return requests;
}

bool KeyGrabs::take(const Grab& grab) {
    const auto requests = request(grab);
    // All answers are taken, so that none of them ends up among the events.
    const auto refused = std::ranges::count_if(
        requests, [&](xcb_void_cookie_t one) { return !xcb::succeeded(connection.xcb(), one); });
    if (refused > 0) release(grab);
    return refused == 0;
}

void KeyGrabs::release(const Grab& grab) {
    for (const auto state : statesOf(grab)) {
        xcb_ungrab_key(connection.xcb(), grab.combination.key, connection.root(), state);
    }
}

void KeyGrabs::keyboardChanged() {
    if (const auto& present = keyboard.modifiers(); present != modifiers) {
        for (const auto* grab : grabs) {
            if (grab->isHeld_) release(*grab);
        }
        modifiers = present;
        for (auto* grab : grabs) {
            const bool wasHeld = std::exchange(grab->isHeld_, grab->onLoss && take(*grab));
            if (grab->onLoss && wasHeld && !grab->isHeld_) connection.runLoop().post(grab->onLoss);
        }
    }
    const bool hadAll = !retry;
    grabWhatIsMissing();
    if (retry && hadAll) Log("Hotkeys").error("With this keyboard, another program has the hotkey");
}

void KeyGrabs::grabWhatIsMissing() {
    bool isOneMissing = false;
    for (auto* grab : grabs) {
        if (grab->onLoss) continue;
        if (!grab->isHeld_) grab->isHeld_ = take(*grab);
        isOneMissing |= !grab->isHeld_;
    }
    if (!isOneMissing) {
        retry.reset();
    } else if (!retry) {
        retry = connection.runLoop().repeatingTimer(retrySeconds, [this] { grabWhatIsMissing(); });
    }
}

}  // namespace vellumix::x11
