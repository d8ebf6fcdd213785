#include "platform/view/windows/HostingView.h"

#include <cmath>
#include <utility>

#include "platform/view/windows/Presenter.h"

namespace vellumix::view {

namespace {

/// When the frame after this moment is due.
double nextFrameAfter(double now) {
    constexpr double framesPerSecond = 60;
    // A timer may fire a moment too early.
    constexpr double slack = 1e-3;
    return (std::floor(now * framesPerSecond + slack) + 1) / framesPerSecond;
}

}  // namespace

HostingView::HostingView(NSWindow& window, const View& root, Renderer& renderer)
    : HostingView(
          window, [root](const Chrome&) { return root; }, renderer) {}

HostingView::HostingView(NSWindow& window, RootMaker root, Renderer& renderer)
    : _window(window), _renderer(renderer), _maker(std::move(root)), _chrome(chrome()) {
    _tree =
        std::make_shared<ViewTree>(_maker(_chrome).padding(_chrome.shadowRoom), renderer.texts(), surface());
    _tree->onNeedsFrame([this] { requestFrame(); });
    _presenter = std::make_unique<Presenter>(*this, renderer, [this] { updateKeyState(); });
    _forgetting =
        RememberedTexts::shared().onForget([this] { onMain(_lifetime.weakly([this] { forget(); })); });
    _window.setDelegate(this);
}

HostingView::~HostingView() {
    _window.setDelegate(nullptr);
    _tree->onNeedsFrame({});
    _tree->onMenu({});
}

Rect HostingView::content() const {
    return {{_chrome.shadowRoom.leading, _chrome.shadowRoom.top}, _chrome.size};
}

Point HostingView::onScreen(Point at) const { return _window.frame().origin + (at - content().origin); }

std::optional<Point> HostingView::pointer() const {
    return _pointer ? std::optional(onScreen(*_pointer)) : std::nullopt;
}

Surface HostingView::surface() const {
    const auto& room = _chrome.shadowRoom;
    return {.size = {_chrome.size.width + room.leading + room.trailing,
                     _chrome.size.height + room.top + room.bottom},
            .scale = _window.backingScaleFactor()};
}

Chrome HostingView::chrome() const {
    return {.shadowRoom = _window.shadowInsets(),
            .isTranslucent = _window.isTranslucent(),
            .size = _window.frame().size};
}

void HostingView::setRoot(const View& root) {
    setRoot([root](const Chrome&) { return root; });
}

void HostingView::setRoot(RootMaker root) {
    _maker = std::move(root);
    const auto maker = _maker;
    _tree->setRoot(maker(_chrome).padding(_chrome.shadowRoom));
}

void HostingView::updateChrome() {
    const auto now = chrome();
    if (!(now == _chrome)) {
        _chrome = now;
        setRoot(_maker);
    }
    _tree->setSurface(surface());
}

void HostingView::requestFrame() {
    if (_isFrameRequested || !_window.isVisible()) return;
    _isFrameRequested = true;
    const double wait = _nextFrame - RunLoop::main().uptime();
    if (wait <= 0) {
        onMain(_lifetime.weakly([this] { tick(); }));
    } else {
        _frameTimer = RunLoop::main().oneShotTimer(wait, [this] { tick(); });
    }
}

void HostingView::tick() {
    if (!std::exchange(_isFrameRequested, false)) return;
    // The timer may be running this.
    const auto timer = std::exchange(_frameTimer, nullptr);
    const auto alive = _lifetime.watch();
    const double now = RunLoop::main().uptime();
    if (_alpha) tickAlpha(now);
    if (!alive.expired() && _window.isVisible() && (_isPixelLost || _tree->needsFrame())) drawNow();
}

void HostingView::drawNow() {
    const auto alive = _lifetime.watch();
    const auto tree = _tree;
    const double now = RunLoop::main().uptime();
    _nextFrame = nextFrameAfter(now);
    updateChrome();
    const auto& drawing = tree->frame(now);
    if (alive.expired()) return;
    const auto pixels = _window.beginDrawing();
    if (!pixels.memory.empty()) {
        _renderer.paint(drawing, pixels, _window.backingScaleFactor());
        _window.endDrawing();
    }
    _isPixelLost = false;
    updateCursor();
    _window.setTextInput(tree->textInputCaret());
    _presenter->treeDidChange();
    if (tree->needsFrame()) requestFrame();
    waitForNextChange();
}

void HostingView::waitForNextChange() {
    _changeTimer.reset();
    const auto at = _tree->nextFrameAt();
    if (!at || _tree->needsFrame() || !_window.isVisible()) return;
    const double wait = std::max(0.0, *at - RunLoop::main().uptime());
    _changeTimer = RunLoop::main().oneShotTimer(wait, [this] {
        // Held, as the drawing puts another in its place.
        const auto timer = std::move(_changeTimer);
        drawNow();
    });
}

/// Puts what the tree shows now in the place of what it showed; a window in sight does so by its next frame.
void HostingView::forget() {
    if (_window.isVisible() || !_tree->needsFrame()) return;
    _tree->settle();
    _tree->frame(RunLoop::main().uptime());
}

void HostingView::orderFront() {
    const auto alive = _lifetime.watch();
    if (!_window.isVisible()) _tree->settle();
    drawNow();
    if (alive.expired()) return;
    _isWithdrawn = false;
    _window.setIgnoresMouseEvents(false);
    _window.orderFrontRegardless();
    // What wants a window over this one waits until it is shown.
    _presenter->treeDidChange();
    if (_tree->needsFrame() || _alpha) requestFrame();
    waitForNextChange();
}

void HostingView::withdraw() {
    const auto alive = _lifetime.watch();
    _isWithdrawn = true;
    _drag.reset();
    // Before what has the keyboard closes, so that it doesn't come back here on its way.
    _window.resignKeyWindow();
    _window.setIgnoresMouseEvents(true);
    _presenter->closeAll();
    if (!alive.expired()) pointerLeft();
    if (!alive.expired()) updateKeyState();
}

void HostingView::orderOut() {
    const auto alive = _lifetime.watch();
    _changeTimer.reset();
    withdraw();
    if (!alive.expired()) _window.orderOut();
}

void HostingView::close() {
    const auto alive = _lifetime.watch();
    _closing.notify();
    if (!alive.expired()) orderOut();
}

void HostingView::animateAlpha(double to, const Curve& curve, Work completion) {
    const double now = RunLoop::main().uptime();
    AlphaRun run{.value = Animated<double>(), .completion = std::move(completion)};
    run.value.jump(_window.alphaValue());
    if (_window.isVisible()) {
        run.value.set(to, curve, now);
    } else {
        run.value.jump(to);
        _window.setAlphaValue(to);
    }
    _alpha = std::move(run);
    if (_window.isVisible()) return requestFrame();
    _isFrameRequested = true;
    onMain(_lifetime.weakly([this] { tick(); }));
}

void HostingView::tickAlpha(double now) {
    const bool isOver = !_window.isVisible() || _alpha->value.restsAt(now) <= now;
    _window.setAlphaValue(isOver ? _alpha->value.target() : _alpha->value.at(now));
    if (!isOver) {
        _nextFrame = nextFrameAfter(now);
        return requestFrame();
    }
    const auto completion = std::exchange(_alpha, std::nullopt)->completion;
    if (completion) completion();
}

void HostingView::updateCursor() {
    if (!_pointer) return;
    auto wanted = _tree->cursor();
    if (_drag) {
        wanted = resizeCursor(_drag->edges());
    } else if (_manners.isResizable) {
        const auto edges = resizeEdgesAt(*_pointer, content());
        if (edges.any()) wanted = resizeCursor(edges);
    }
    if (_cursor == wanted) return;
    _cursor = wanted;
    _window.setCursor(wanted);
}

void HostingView::pointerMoved(Point at) {
    if (_isWithdrawn) return;
    _pointer = at;
    if (_drag) return _window.setFrame(_drag->frameAt(onScreen(at)));
    if (_presenter->pointerMoved(onScreen(at))) return;
    const auto alive = _lifetime.watch();
    _tree->pointerMoved(at);
    if (alive.expired()) return;
    updateCursor();
    _presenter->pointerIsOver(onScreen(at));
}

void HostingView::pointerLeft() {
    _pointer.reset();
    _presenter->pointerIsOver(std::nullopt);
    _tree->pointerLeft();
}

void HostingView::pointerPressed(const PointerPress& press) {
    if (_isWithdrawn) return;
    _pointer = press.at;
    if (_presenter->pointerPressed()) return;
    const auto frame = content();
    const bool isPrimary = press.button == PointerButton::primary;
    const auto edges = isPrimary && _manners.isResizable ? resizeEdgesAt(press.at, frame) : ResizeEdges();
    const bool moves = isPrimary && _manners.isMovableByBackground && frame.contains(press.at) &&
                       !_tree->takesPress(press.at);
    if (edges.any() || moves) _drag.emplace(_window.frame(), onScreen(press.at), edges, _manners);
    if (!edges.any()) _tree->pointerPressed(press);
}

void HostingView::pointerReleased(Point at, PointerButton button) {
    if (_isWithdrawn) return;
    if (button == PointerButton::primary && _drag) {
        pointerMoved(at);
        _drag.reset();
    }
    if (_presenter->pointerReleased(onScreen(at))) return;
    const auto alive = _lifetime.watch();
    _tree->pointerReleased(at, button);
    if (!alive.expired()) updateCursor();
}

void HostingView::scrolled(Point at, double down, double) {
    if (!_isWithdrawn && !_presenter->scrolled()) _tree->scrolled(at, down);
}

void HostingView::keyPressed(const KeyEvent& event) {
    if (_isWithdrawn) return;
    const auto alive = _lifetime.watch();
    // Quick hands don't wait for a frame: a key is for what the one before it has brought about.
    if (_window.isVisible() && _tree->needsFrame()) drawNow();
    if (alive.expired() || _presenter->keyPressed(event)) return;
    if (_tree->keyPressed(event) || alive.expired()) return;
    if (const auto handler = _onUnhandledKey) handler(event);
}

void HostingView::textComposed(const MarkedText& text) {
    if (!_isWithdrawn) _tree->textComposed(text);
}

void HostingView::keyStateChanged(bool) { updateKeyState(); }

void HostingView::updateKeyState() {
    const bool isKey = _window.isKeyWindow() || (_isKey && _presenter->hasKeyboard());
    if (std::exchange(_isKey, isKey) == isKey) return;
    _tree->setHasKeyboard(isKey);
    _keyState.notify(isKey);
}

void HostingView::frameChanged(bool hasResized, bool hasMoved) {
    const auto alive = _lifetime.watch();
    if (hasResized) needsDisplay();
    if (hasResized) _resized.notify();
    if (hasMoved && !alive.expired()) _moved.notify();
}

void HostingView::needsDisplay() {
    _isPixelLost = true;
    requestFrame();
}

void HostingView::closeRequested() { close(); }

}  // namespace vellumix::view
