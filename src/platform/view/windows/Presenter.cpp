#include "platform/view/windows/Presenter.h"

#include <cmath>
#include <utility>

namespace vellumix::view {

Presenter::Presenter(HostingView& host, Renderer& renderer, std::function<void()> keyboardReturned)
    : host(host), renderer(renderer), keyboardReturned(std::move(keyboardReturned)), tip(renderer) {
    this->host.tree().onMenu([this](const MenuRequest& request) { openMenu(request); });
}

Rect Presenter::bounds() const {
    const auto screen = host.window().screen();
    return screen ? screen->visibleFrame : host.window().frame();
}

bool Presenter::pointerMoved(Point pointer) {
    if (menu && menuPress) menu->dragged(pointer);
    return hasKeyboard();
}

bool Presenter::pointerPressed() {
    tip.dismiss();
    takesRelease = hasKeyboard();
    if (alert) {
        alert->raise();
    } else if (menu) {
        menuEnded({});
    }
    return takesRelease;
}

bool Presenter::pointerReleased(Point pointer) {
    const bool isTaken = std::exchange(takesRelease, false) || alert;
    const auto pressed = std::exchange(menuPress, std::nullopt);
    if (!menu || !pressed) return isTaken;
    // A hand that clicks may tremble.
    constexpr double trembling = 4;
    if (std::hypot(pointer.x - pressed->x, pointer.y - pressed->y) > trembling) menu->released(pointer);
    return true;
}

bool Presenter::scrolled() {
    tip.dismiss();
    return hasKeyboard();
}

bool Presenter::keyPressed(const KeyEvent& event) {
    tip.dismiss();
    // The keyboard may still be on its way to what has just opened.
    if (menu) {
        menu->keyPressed(event);
        return true;
    }
    if (alert) alert->raise();
    return alert != nullptr;
}

void Presenter::pointerIsOver(std::optional<Point> pointer) {
    tip.pointerMoved(pointer.value_or(Point()), pointer ? host.tree().help() : std::nullopt, bounds());
}

void Presenter::treeDidChange() {
    tip.helpChanged(host.tree().help());
    const auto wanted = host.tree().alert();
    const auto isShown = [&](const AlertRequest& request) {
        return !request.source.owner_before(alertRequest->source) &&
               !alertRequest->source.owner_before(request.source);
    };
    if (alertRequest && !(wanted && isShown(*wanted))) {
        alertRequest.reset();
        alert.reset();
        giveKeyboardBack();
    }
    if (wanted && !alertRequest && host.window().isVisible()) openAlert(*wanted);
}

void Presenter::closeAll() {
    tip.dismiss();
    menuPress.reset();
    menu.reset();
    alert.reset();
    if (const auto request = std::exchange(alertRequest, std::nullopt)) request->isPresented.set(false);
}

void Presenter::openMenu(const MenuRequest& request) {
    tip.dismiss();
    if (alert || !host.window().isVisible()) return;
    menu.reset();
    const Rect anchor{host.onScreen(request.anchor.origin), request.anchor.size};
    menuPress = request.isPressed ? host.pointer() : std::nullopt;
    menu = std::make_unique<PopUpMenu>(request, anchor, bounds(), renderer,
                                       [this](const Action& chosen) { menuEnded(chosen); });
}

void Presenter::menuEnded(const Action& chosen) {
    menuPress.reset();
    menu.reset();
    giveKeyboardBack();
    if (chosen) chosen();
}

void Presenter::openAlert(const AlertRequest& request) {
    tip.dismiss();
    menuPress.reset();
    menu.reset();
    alertRequest = request;
    alert = std::make_unique<AlertWindow>(
        request.description, request.palette, host.window().frame(), bounds(), renderer,
        [this](std::optional<std::size_t> button) { alertAnswered(button); });
}

void Presenter::alertAnswered(std::optional<std::size_t> button) {
    const auto request = std::exchange(alertRequest, std::nullopt);
    alert.reset();
    giveKeyboardBack();
    const auto action = button ? request->description.buttons[*button].action : Action();
    request->isPresented.set(false);
    if (action) action();
}

void Presenter::giveKeyboardBack() {
    // The desktop takes a moment to hand it over; until then the window counts as having it.
    constexpr double handOver = 0.1;
    onMainAfter(handOver, lifetime.weakly([this] { keyboardReturned(); }));
}

}  // namespace vellumix::view
