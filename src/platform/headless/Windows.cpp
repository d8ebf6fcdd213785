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
    : options(given), server(server), frame_(given.frame) {
    this->server.windows_.push_back(this);
}

Window::~Window() {
    delegate_ = nullptr;
    orderOut();
    std::erase(server.windows_, this);
}

void Window::tellLater(std::function<void(NSWindowDelegate&)> what) {
    server.runLoop.post(lifetime.weakly([this, what = std::move(what)] {
        if (delegate_) what(*delegate_);
    }));
}

void Window::setFrame(const Rect& frame) {
    const bool hasResized = !(frame.size == frame_.size);
    const bool hasMoved = !(frame.origin == frame_.origin);
    frame_ = frame;
    if (hasResized || hasMoved) {
        tellLater([=](NSWindowDelegate& told) { told.frameChanged(hasResized, hasMoved); });
    }
}

std::optional<NSScreen> Window::screen() const {
    const auto& all = server.monitors;
    const auto most = std::ranges::max_element(
        all, {}, [&](const NSScreen& screen) { return area(screen.frame.intersection(frame_)); });
    return most == all.end() ? std::nullopt : std::optional(*most);
}

double Window::backingScaleFactor() const { return server.scale; }

Insets Window::shadowInsets() const {
    const bool drawsOwn =
        options.kind == Kind::panel || options.kind == Kind::menu || options.kind == Kind::toolTip;
    return drawsOwn && server.hasCompositor ? Insets::all(shadowRoom) : Insets();
}

bool Window::isTranslucent() const { return server.hasCompositor; }

void Window::orderFrontRegardless() {
    isVisible_ = true;
    std::erase(server.windows_, this);
    server.windows_.push_back(this);
}

void Window::orderOut() {
    isVisible_ = false;
    resignKeyWindow();
}

void Window::resignKeyWindow() {
    const bool hadKeyboard = isKeyWindow();
    std::erase(server.keyOrder, this);
    if (!hadKeyboard) return;
    tellLater([](NSWindowDelegate& told) { told.keyStateChanged(false); });
    if (auto* next = server.keyWindow()) {
        next->tellLater([](NSWindowDelegate& told) { told.keyStateChanged(true); });
    }
}

void Window::makeKeyWindow() {
    auto* before = server.keyWindow();
    if (before == this || !isVisible_) return;
    std::erase(server.keyOrder, this);
    server.keyOrder.push_back(this);
    if (before) before->tellLater([](NSWindowDelegate& told) { told.keyStateChanged(false); });
    tellLater([](NSWindowDelegate& told) { told.keyStateChanged(true); });
}

bool Window::isKeyWindow() const { return server.keyWindow() == this; }

PixelBuffer Window::beginDrawing() {
    const auto insets = shadowInsets();
    const auto pixelsOf = [&](double length) {
        return static_cast<int>(std::ceil(std::max(length, 0.0) * server.scale));
    };
    const int width = pixelsOf(frame_.size.width + insets.leading + insets.trailing);
    const int height = pixelsOf(frame_.size.height + insets.top + insets.bottom);
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
    return refusesMonitors ? Observation() : mouseHandlers.add(std::move(handler));
}

Observation WindowServer::addGlobalMonitorForMouseUp(std::function<void()> handler) {
    return refusesMonitors ? Observation() : releaseHandlers.add(std::move(handler));
}

Window* WindowServer::keyWindow() const { return keyOrder.empty() ? nullptr : keyOrder.back(); }

Window* WindowServer::shown(NSWindow::Kind kind) const {
    const auto found = std::find_if(windows_.rbegin(), windows_.rend(), [&](const Window* window) {
        return window->options.kind == kind && window->isVisible();
    });
    return found == windows_.rend() ? nullptr : *found;
}

void WindowServer::setMonitors(std::vector<NSScreen> screens) {
    monitors = std::move(screens);
    screenObservers.notify();
}

void WindowServer::pressElsewhere(Point at) {
    pointer = at;
    mouseHandlers.notify();
}

}  // namespace vellumix::headless
