#include "platform/view/windows/Presenter.h"

#include <cmath>
#include <utility>

namespace vellumix::view {

Presenter::Presenter(HostingView& host, Renderer& renderer, std::function<void()> keyboardReturned)
    : _host(host), _renderer(renderer), _keyboardReturned(std::move(keyboardReturned)), _tip(renderer) {
    _host.tree().onMenu([this](const MenuRequest& request) { openMenu(request); });
}

Rect Presenter::bounds() const {
    const auto screen = _host.window().screen();
    return screen ? screen->visibleFrame : _host.window().frame();
}

bool Presenter::pointerMoved(Point pointer) {
    if (_menu && _menuPress) _menu->dragged(pointer);
    return hasKeyboard();
}

bool Presenter::pointerPressed() {
    _tip.dismiss();
    _takesRelease = hasKeyboard();
    if (_alert) {
        _alert->raise();
    } else if (_menu) {
        menuEnded({});
    }
    return _takesRelease;
}

bool Presenter::pointerReleased(Point pointer) {
    const bool isTaken = std::exchange(_takesRelease, false) || _alert;
    const auto pressed = std::exchange(_menuPress, std::nullopt);
    if (!_menu || !pressed) return isTaken;
    // A hand that clicks may tremble.
    constexpr double trembling = 4;
    if (std::hypot(pointer.x - pressed->x, pointer.y - pressed->y) > trembling) _menu->released(pointer);
    return true;
}

bool Presenter::scrolled() {
    _tip.dismiss();
    return hasKeyboard();
}

bool Presenter::keyPressed(const KeyEvent& event) {
    _tip.dismiss();
    // The keyboard may still be on its way to what has just opened.
    if (_menu) {
        _menu->keyPressed(event);
        return true;
    }
    if (_alert) _alert->raise();
    return _alert != nullptr;
}

void Presenter::pointerIsOver(std::optional<Point> pointer) {
    _tip.pointerMoved(pointer.value_or(Point()), pointer ? _host.tree().help() : std::nullopt, bounds());
}

void Presenter::treeDidChange() {
    _tip.helpChanged(_host.tree().help());
    const auto wanted = _host.tree().alert();
    const auto isShown = [&](const AlertRequest& request) {
        return !request.source.owner_before(_alertRequest->source) &&
               !_alertRequest->source.owner_before(request.source);
    };
    if (_alertRequest && !(wanted && isShown(*wanted))) {
        _alertRequest.reset();
        _alert.reset();
        giveKeyboardBack();
    }
    if (wanted && !_alertRequest && _host.window().isVisible()) openAlert(*wanted);
}

void Presenter::closeAll() {
    _tip.dismiss();
    _menuPress.reset();
    _menu.reset();
    _alert.reset();
    if (const auto request = std::exchange(_alertRequest, std::nullopt)) request->isPresented.set(false);
}

void Presenter::openMenu(const MenuRequest& request) {
    _tip.dismiss();
    if (_alert || !_host.window().isVisible()) return;
    _menu.reset();
    const Rect anchor{_host.onScreen(request.anchor.origin), request.anchor.size};
    _menuPress = request.isPressed ? _host.pointer() : std::nullopt;
    _menu = std::make_unique<PopUpMenu>(request, anchor, bounds(), _renderer,
                                        [this](const Action& chosen) { menuEnded(chosen); });
}

void Presenter::menuEnded(const Action& chosen) {
    _menuPress.reset();
    _menu.reset();
    giveKeyboardBack();
    if (chosen) chosen();
}

void Presenter::openAlert(const AlertRequest& request) {
    _tip.dismiss();
    _menuPress.reset();
    _menu.reset();
    _alertRequest = request;
    _alert = std::make_unique<AlertWindow>(
        request.description, request.palette, _host.window().frame(), bounds(), _renderer,
        [this](std::optional<std::size_t> button) { alertAnswered(button); });
}

void Presenter::alertAnswered(std::optional<std::size_t> button) {
    const auto request = std::exchange(_alertRequest, std::nullopt);
    _alert.reset();
    giveKeyboardBack();
    const auto action = button ? request->description.buttons[*button].action : Action();
    request->isPresented.set(false);
    if (action) action();
}

void Presenter::giveKeyboardBack() {
    // The desktop takes a moment to hand it over; until then the window counts as having it.
    constexpr double handOver = 0.1;
    onMainAfter(handOver, _lifetime.weakly([this] { _keyboardReturned(); }));
}

}  // namespace vellumix::view
