#include "platform/x11/keys/KeyFocus.h"

#include <algorithm>

#include "platform/foundation/loop/Log.h"

namespace vellumix::x11 {

namespace {

constexpr double retrySeconds = 0.05;
constexpr int mostAttempts = 40;

}  // namespace

KeyFocus::KeyFocus(Connection& connection, KeyboardMap& keyboard, int screen)
    : connection(connection),
      keyboard(connection, keyboard),
      input(connection, screen,
            {.typed = [this](const auto& key) { handleTyped(key); },
             .committed =
                 [this](const std::string& text) {
                     if (key_) key_->keyTyped({.text = text});
                 },
             .composed =
                 [this](const MarkedText& text) {
                     if (key_) key_->textComposed(text);
                 }}) {
    makeWindow();
}

void KeyFocus::makeWindow() {
    auto* const xcb = connection.xcb();
    window = xcb_generate_id(xcb);
    // One window out of sight gets the keys for all, so that the grab stays while they change.
    const std::uint32_t values[] = {
        1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(xcb, window);
    events = connection.observe(window, [this](const auto& event) { handle(event); });
    input.setWindow(window);
}

void KeyFocus::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE:
            return handleKey(event);
        case XCB_UNMAP_NOTIFY:
            // The end of it is announced once more.
            xcb_destroy_window(connection.xcb(), window);
            return;
        case XCB_DESTROY_NOTIFY:
            return windowIsLost();
        default:
            return;
    }
}

void KeyFocus::windowIsLost() {
    Log("KeyFocus").error("Another program has taken away the window that the keys come to; it is made anew");
    makeWindow();
    // The server has let go of both with the window.
    isGrabbed = false;
    focusBefore = XCB_WINDOW_NONE;
    update();
}

KeyFocus::~KeyFocus() {
    letGo();
    xcb_destroy_window(connection.xcb(), window);
}

void KeyFocus::add(KeyTarget& target) {
    std::erase(order, &target);
    order.push_back(&target);
    update();
}

void KeyFocus::remove(KeyTarget& target) {
    if (std::erase(order, &target) > 0) update();
}

void KeyFocus::update() {
    auto* const wanted = order.empty() ? nullptr : order.back();
    if (wanted && wanted->isGrabbing()) {
        if (hasKeyboard()) {
            setKey(wanted);
        } else if (!retry) {
            setKey(nullptr);
            attempts = 0;
            take();
        }
        return;
    }
    letGo();
    setKey(wanted);
}

void KeyFocus::take() {
    retry.reset();
    isGrabbed = grab();
    if (isGrabbed) {
        update();
        return;
    }
    if (++attempts < mostAttempts) {
        retry = connection.runLoop().oneShotTimer(retrySeconds, [this] { take(); });
        return;
    }
    Log("KeyFocus").error("Another program holds the keyboard; the panel takes the focus instead");
    auto* const xcb = connection.xcb();
    const auto focus = xcb::await<xcb_get_input_focus_reply>(xcb, xcb_get_input_focus(xcb));
    focusBefore =
        focus && focus->focus != XCB_WINDOW_NONE ? focus->focus : xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT};
    xcb_set_input_focus(xcb, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    update();
}

bool KeyFocus::grab() {
    auto* const xcb = connection.xcb();
    const auto reply = xcb::await<xcb_grab_keyboard_reply>(
        xcb, xcb_grab_keyboard(xcb, 0, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void KeyFocus::letGo() {
    auto* const xcb = connection.xcb();
    retry.reset();
    if (std::exchange(isGrabbed, false)) xcb_ungrab_keyboard(xcb, XCB_CURRENT_TIME);
    if (const auto before = std::exchange(focusBefore, XCB_WINDOW_NONE); before != XCB_WINDOW_NONE) {
        xcb_set_input_focus(xcb, XCB_INPUT_FOCUS_POINTER_ROOT, before, XCB_CURRENT_TIME);
    }
}

void KeyFocus::setKey(KeyTarget* target) {
    auto* const before = std::exchange(key_, target);
    if (before == target) return;
    if (!target) {
        lockers.reset();
    } else if (!lockers) {
        lockers.emplace(connection, [this] {
            connection.runLoop().post(lifetime.weakly([this] { lockerObservers.notify(); }));
        });
    }
    keyboard.reset();
    // What is being composed belongs to the window that loses the keys.
    input.setCaret(std::nullopt);
    if (target) input.setCaret(target->textCaret());
    if (before) before->keyStateChanges(false);
    if (target) target->keyStateChanges(true);
}

void KeyFocus::handleKey(const xcb_generic_event_t& event) {
    const auto& key = xcb::as<xcb_key_press_event_t>(event);
    if (!input.take(key)) handleTyped(key);
}

void KeyFocus::textCaretChanged(const KeyTarget& target) {
    if (key_ == &target) input.setCaret(target.textCaret());
}

void KeyFocus::handleTyped(const xcb_key_press_event_t& key) {
    const auto type = key.response_type & 0x7F;
    if (type == XCB_KEY_RELEASE) {
        keyboard.released(key);
        return;
    }
    if (type != XCB_KEY_PRESS || !key_) return;
    if (const auto pressed = keyboard.pressed(key)) key_->keyTyped(*pressed);
}

}  // namespace vellumix::x11
