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
    : window_(window), renderer(renderer), maker(std::move(root)), chrome_(chrome()) {
    tree_ =
        std::make_shared<ViewTree>(maker(chrome_).padding(chrome_.shadowRoom), renderer.texts(), surface());
    tree_->onNeedsFrame([this] { requestFrame(); });
    presenter = std::make_unique<Presenter>(*this, renderer, [this] { updateKeyState(); });
    forgetting =
        RememberedTexts::shared().onForget([this] { onMain(lifetime.weakly([this] { forget(); })); });
    window_.setDelegate(this);
}

HostingView::~HostingView() {
    window_.setDelegate(nullptr);
    tree_->onNeedsFrame({});
    tree_->onMenu({});
}

Rect HostingView::content() const {
    return {{chrome_.shadowRoom.leading, chrome_.shadowRoom.top}, chrome_.size};
}

Point HostingView::onScreen(Point at) const { return window_.frame().origin + (at - content().origin); }

std::optional<Point> HostingView::pointer() const {
    return pointer_ ? std::optional(onScreen(*pointer_)) : std::nullopt;
}

Surface HostingView::surface() const {
    const auto& room = chrome_.shadowRoom;
    return {.size = {chrome_.size.width + room.leading + room.trailing,
                     chrome_.size.height + room.top + room.bottom},
            .scale = window_.backingScaleFactor()};
}

Chrome HostingView::chrome() const {
    return {.shadowRoom = window_.shadowInsets(),
            .isTranslucent = window_.isTranslucent(),
            .size = window_.frame().size};
}

void HostingView::setRoot(const View& root) {
    setRoot([root](const Chrome&) { return root; });
}

void HostingView::setRoot(RootMaker root) {
    this->maker = std::move(root);
    const auto maker = this->maker;
    tree_->setRoot(maker(chrome_).padding(chrome_.shadowRoom));
}

void HostingView::updateChrome() {
    const auto now = chrome();
    if (!(now == chrome_)) {
        chrome_ = now;
        setRoot(maker);
    }
    tree_->setSurface(surface());
}

void HostingView::requestFrame() {
    if (isFrameRequested || !window_.isVisible()) return;
    isFrameRequested = true;
    const double wait = nextFrame - RunLoop::main().uptime();
    if (wait <= 0) {
        onMain(lifetime.weakly([this] { tick(); }));
    } else {
        frameTimer = RunLoop::main().oneShotTimer(wait, [this] { tick(); });
    }
}

void HostingView::tick() {
    if (!std::exchange(isFrameRequested, false)) return;
    // The timer may be running this.
    const auto timer = std::exchange(frameTimer, nullptr);
    const auto alive = lifetime.watch();
    const double now = RunLoop::main().uptime();
    if (alpha) tickAlpha(now);
    if (!alive.expired() && window_.isVisible() && (isPixelLost || tree_->needsFrame())) drawNow();
}

void HostingView::drawNow() {
    const auto alive = lifetime.watch();
    const auto tree = tree_;
    const double now = RunLoop::main().uptime();
    nextFrame = nextFrameAfter(now);
    updateChrome();
    const auto& drawing = tree->frame(now);
    if (alive.expired()) return;
    const auto pixels = window_.beginDrawing();
    if (!pixels.memory.empty()) {
        renderer.paint(drawing, pixels, window_.backingScaleFactor());
        window_.endDrawing();
    }
    isPixelLost = false;
    updateCursor();
    window_.setTextInput(tree->textInputCaret());
    presenter->treeDidChange();
    if (tree->needsFrame()) requestFrame();
    waitForNextChange();
}

void HostingView::waitForNextChange() {
    changeTimer.reset();
    const auto at = tree_->nextFrameAt();
    if (!at || tree_->needsFrame() || !window_.isVisible()) return;
    const double wait = std::max(0.0, *at - RunLoop::main().uptime());
    changeTimer = RunLoop::main().oneShotTimer(wait, [this] {
        // Held, as the drawing puts another in its place.
        const auto timer = std::move(changeTimer);
        drawNow();
    });
}

/// Puts what the tree shows now in the place of what it showed; a window in sight does so by its next frame.
void HostingView::forget() {
    if (window_.isVisible() || !tree_->needsFrame()) return;
    tree_->settle();
    tree_->frame(RunLoop::main().uptime());
}

void HostingView::orderFront() {
    const auto alive = lifetime.watch();
    if (!window_.isVisible()) tree_->settle();
    drawNow();
    if (alive.expired()) return;
    isWithdrawn = false;
    window_.setIgnoresMouseEvents(false);
    window_.orderFrontRegardless();
    // What wants a window over this one waits until it is shown.
    presenter->treeDidChange();
    if (tree_->needsFrame() || alpha) requestFrame();
    waitForNextChange();
}

void HostingView::withdraw() {
    const auto alive = lifetime.watch();
    isWithdrawn = true;
    drag.reset();
    // Before what has the keyboard closes, so that it doesn't come back here on its way.
    window_.resignKeyWindow();
    window_.setIgnoresMouseEvents(true);
    presenter->closeAll();
    if (!alive.expired()) pointerLeft();
    if (!alive.expired()) updateKeyState();
}

void HostingView::orderOut() {
    const auto alive = lifetime.watch();
    changeTimer.reset();
    withdraw();
    if (!alive.expired()) window_.orderOut();
}

void HostingView::close() {
    const auto alive = lifetime.watch();
    closing.notify();
    if (!alive.expired()) orderOut();
}

void HostingView::animateAlpha(double to, const Curve& curve, Work completion) {
    const double now = RunLoop::main().uptime();
    AlphaRun run{.value = Animated<double>(), .completion = std::move(completion)};
    run.value.jump(window_.alphaValue());
    if (window_.isVisible()) {
        run.value.set(to, curve, now);
    } else {
        run.value.jump(to);
        window_.setAlphaValue(to);
    }
    alpha = std::move(run);
    if (window_.isVisible()) return requestFrame();
    isFrameRequested = true;
    onMain(lifetime.weakly([this] { tick(); }));
}

void HostingView::tickAlpha(double now) {
    const bool isOver = !window_.isVisible() || alpha->value.restsAt(now) <= now;
    window_.setAlphaValue(isOver ? alpha->value.target() : alpha->value.at(now));
    if (!isOver) {
        nextFrame = nextFrameAfter(now);
        return requestFrame();
    }
    const auto completion = std::exchange(alpha, std::nullopt)->completion;
    if (completion) completion();
}

void HostingView::updateCursor() {
    if (!pointer_) return;
    auto wanted = tree_->cursor();
    if (drag) {
        wanted = resizeCursor(drag->edges());
    } else if (manners.isResizable) {
        const auto edges = resizeEdgesAt(*pointer_, content());
        if (edges.any()) wanted = resizeCursor(edges);
    }
    if (cursor == wanted) return;
    cursor = wanted;
    window_.setCursor(wanted);
}

void HostingView::pointerMoved(Point at) {
    if (isWithdrawn) return;
    pointer_ = at;
    if (drag) return window_.setFrame(drag->frameAt(onScreen(at)));
    if (presenter->pointerMoved(onScreen(at))) return;
    const auto alive = lifetime.watch();
    tree_->pointerMoved(at);
    if (alive.expired()) return;
    updateCursor();
    presenter->pointerIsOver(onScreen(at));
}

void HostingView::pointerLeft() {
    pointer_.reset();
    presenter->pointerIsOver(std::nullopt);
    tree_->pointerLeft();
}

void HostingView::pointerPressed(const PointerPress& press) {
    if (isWithdrawn) return;
    pointer_ = press.at;
    if (presenter->pointerPressed()) return;
    const auto frame = content();
    const bool isPrimary = press.button == PointerButton::primary;
    const auto edges = isPrimary && manners.isResizable ? resizeEdgesAt(press.at, frame) : ResizeEdges();
    const bool moves = isPrimary && manners.isMovableByBackground && frame.contains(press.at) &&
                       !tree_->takesPress(press.at);
    if (edges.any() || moves) drag.emplace(window_.frame(), onScreen(press.at), edges, manners);
    if (!edges.any()) tree_->pointerPressed(press);
}

void HostingView::pointerReleased(Point at, PointerButton button) {
    if (isWithdrawn) return;
    if (button == PointerButton::primary && drag) {
        pointerMoved(at);
        drag.reset();
    }
    if (presenter->pointerReleased(onScreen(at))) return;
    const auto alive = lifetime.watch();
    tree_->pointerReleased(at, button);
    if (!alive.expired()) updateCursor();
}

void HostingView::scrolled(Point at, double down, double) {
    if (!isWithdrawn && !presenter->scrolled()) tree_->scrolled(at, down);
}

void HostingView::keyPressed(const KeyEvent& event) {
    if (isWithdrawn) return;
    const auto alive = lifetime.watch();
    // Quick hands don't wait for a frame: a key is for what the one before it has brought about.
    if (window_.isVisible() && tree_->needsFrame()) drawNow();
    if (alive.expired() || presenter->keyPressed(event)) return;
    if (tree_->keyPressed(event) || alive.expired()) return;
    if (const auto handler = onUnhandledKey_) handler(event);
}

void HostingView::textComposed(const MarkedText& text) {
    if (!isWithdrawn) tree_->textComposed(text);
}

void HostingView::keyStateChanged(bool) { updateKeyState(); }

void HostingView::updateKeyState() {
    const bool isKey = window_.isKeyWindow() || (this->isKey && presenter->hasKeyboard());
    if (std::exchange(this->isKey, isKey) == isKey) return;
    tree_->setHasKeyboard(isKey);
    keyState.notify(isKey);
}

void HostingView::frameChanged(bool hasResized, bool hasMoved) {
    const auto alive = lifetime.watch();
    if (hasResized) needsDisplay();
    if (hasResized) resized.notify();
    if (hasMoved && !alive.expired()) moved.notify();
}

void HostingView::needsDisplay() {
    isPixelLost = true;
    requestFrame();
}

void HostingView::closeRequested() { close(); }

}  // namespace vellumix::view
