#include "platform/headless/Windows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vellumix::headless {

namespace {

constexpr double shadowRoom = 24;
constexpr int bytesPerPixel = 4;

double area(const Rect& rect) { return rect.size.width * rect.size.height; }

}  // namespace

Window::Window(WindowServer& server, const Options& given)
    : options(given), _server(server), _frame(given.frame) {
    _server._windows.push_back(this);
}

Window::~Window() {
    _delegate = nullptr;
    orderOut();
    std::erase(_server._windows, this);
}

void Window::tellLater(std::function<void(NSWindowDelegate&)> what) {
    _server._runLoop.post(_lifetime.weakly([this, what = std::move(what)] {
        if (_delegate) what(*_delegate);
    }));
}

void Window::setFrame(const Rect& frame) {
    const bool hasResized = !(frame.size == _frame.size);
    const bool hasMoved = !(frame.origin == _frame.origin);
    _frame = frame;
    if (hasResized || hasMoved) {
        tellLater([=](NSWindowDelegate& told) { told.frameChanged(hasResized, hasMoved); });
    }
}

std::optional<NSScreen> Window::screen() const {
    const auto& all = _server.monitors;
    const auto most = std::ranges::max_element(
        all, {}, [&](const NSScreen& screen) { return area(screen.frame.intersection(_frame)); });
    return most == all.end() ? std::nullopt : std::optional(*most);
}

double Window::backingScaleFactor() const { return _server.scale; }

Insets Window::shadowInsets() const {
    const bool drawsOwn =
        options.kind == Kind::panel || options.kind == Kind::menu || options.kind == Kind::toolTip;
    return drawsOwn && _server.hasCompositor ? Insets::all(shadowRoom) : Insets();
}

bool Window::isTranslucent() const { return _server.hasCompositor; }

void Window::orderFrontRegardless() {
    _isVisible = true;
    std::erase(_server._windows, this);
    _server._windows.push_back(this);
}

void Window::orderOut() {
    _isVisible = false;
    resignKeyWindow();
}

void Window::resignKeyWindow() {
    const bool hadKeyboard = isKeyWindow();
    std::erase(_server._keyOrder, this);
    if (!hadKeyboard) return;
    tellLater([](NSWindowDelegate& told) { told.keyStateChanged(false); });
    if (auto* next = _server.keyWindow()) {
        next->tellLater([](NSWindowDelegate& told) { told.keyStateChanged(true); });
    }
}

void Window::makeKeyWindow() {
    auto* before = _server.keyWindow();
    if (before == this || !_isVisible) return;
    std::erase(_server._keyOrder, this);
    _server._keyOrder.push_back(this);
    if (before) before->tellLater([](NSWindowDelegate& told) { told.keyStateChanged(false); });
    tellLater([](NSWindowDelegate& told) { told.keyStateChanged(true); });
}

bool Window::isKeyWindow() const { return _server.keyWindow() == this; }

PixelBuffer Window::beginDrawing() {
    const auto insets = shadowInsets();
    const auto pixelsOf = [&](double length) {
        return static_cast<int>(std::ceil(std::max(length, 0.0) * _server.scale));
    };
    const int width = pixelsOf(_frame.size.width + insets.leading + insets.trailing);
    const int height = pixelsOf(_frame.size.height + insets.top + insets.bottom);
    pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * bytesPerPixel, 0);
    return {pixels, width, height, width * bytesPerPixel};
}

std::unique_ptr<NSWindow> WindowServer::makeWindow(const NSWindow::Options& options) {
    return std::make_unique<Window>(*this, options);
}

std::optional<NSScreen> WindowServer::mainScreen() const {
    return activeMonitor < monitors.size() ? std::optional(monitors[activeMonitor]) : std::nullopt;
}

Observation WindowServer::addGlobalMonitorForMouseDown(std::function<void()> handler) {
    return refusesMonitors ? Observation() : _mouseHandlers.add(std::move(handler));
}

Observation WindowServer::addGlobalMonitorForMouseUp(std::function<void()> handler) {
    return refusesMonitors ? Observation() : _releaseHandlers.add(std::move(handler));
}

Window* WindowServer::keyWindow() const { return _keyOrder.empty() ? nullptr : _keyOrder.back(); }

Window* WindowServer::shown(NSWindow::Kind kind) const {
    const auto found = std::find_if(_windows.rbegin(), _windows.rend(), [&](const Window* window) {
        return window->options.kind == kind && window->isVisible();
    });
    return found == _windows.rend() ? nullptr : *found;
}

void WindowServer::setMonitors(std::vector<NSScreen> screens) {
    monitors = std::move(screens);
    _screenObservers.notify();
}

void WindowServer::pressElsewhere(Point at) {
    pointer = at;
    _mouseHandlers.notify();
}

}  // namespace vellumix::headless
