#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/desktop/Window.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"
#include "platform/foundation/text/RememberedTexts.h"
#include "platform/view/paint/Renderer.h"
#include "platform/view/tree/ViewTree.h"
#include "platform/view/values/Animation.h"
#include "platform/view/windows/WindowDrag.h"

namespace vellumix::view {

class Presenter;

/// What a window gives its root view to draw on. The root is as large as the frame; a shadow may reach beyond
/// it by the room that there is.
struct Chrome {
    Insets shadowRoom;
    /// Without it, what is left transparent is black: draw no rounded corners.
    bool isTranslucent = false;
    Size size;

    friend bool operator==(const Chrome&, const Chrome&) = default;
};

/// A tree of views in a window: draws it when it changes, and takes the window's events to it.
///
/// Main thread only; it is the window's delegate for its lifetime. Frames are drawn from the main loop, sixty
/// a second at most, and none while nothing changes or the window is hidden. Whatever it calls may destroy
/// it.
class HostingView final : public NSWindowDelegate {
public:
    using RootMaker = std::function<View(const Chrome&)>;

    /// Window and renderer must outlive it.
    HostingView(NSWindow& window, const View& root, Renderer& renderer = Renderer::shared());
    HostingView(NSWindow& window, RootMaker root, Renderer& renderer = Renderer::shared());
    ~HostingView() override;
    HostingView(const HostingView&) = delete;
    HostingView& operator=(const HostingView&) = delete;

    NSWindow& window() { return window_; }
    ViewTree& tree() { return *tree_; }
    /// A point of the tree in the space of the monitors.
    Point onScreen(Point at) const;
    /// Where the pointer is, in the space of the monitors; absent where it isn't over the window.
    std::optional<Point> pointer() const;

    void setRoot(const View& root);
    /// The maker is called anew whenever what it was given has changed.
    void setRoot(RootMaker root);
    void setManners(const WindowManners& manners) { this->manners = manners; }
    /// Asked about keys that no view had a use for.
    void onUnhandledKey(KeyHandler handler) { onUnhandledKey_ = std::move(handler); }

    /// Draws at once, also while the window is hidden.
    void drawNow();
    /// Shows the window with its first frame in it, without the keyboard.
    void orderFront();
    /// The window is on its way off the screen: what it has opened closes, and it takes neither key nor press
    /// until it is ordered front again.
    void withdraw();
    /// Hides the window, and what it has opened.
    void orderOut();
    /// Tells those who observe the closing, and hides the window.
    void close();

    /// Runs the window's alpha value along the curve; a hidden window has it at once. `completion` runs once
    /// on a later turn of the loop, or never if another animation has come in its place.
    void animateAlpha(double to, const Curve& curve, Work completion = {});

    Observation observeResize(std::function<void()> observer) { return resized.add(std::move(observer)); }
    Observation observeMove(std::function<void()> observer) { return moved.add(std::move(observer)); }
    Observation observeClose(std::function<void()> observer) { return closing.add(std::move(observer)); }
    /// The window counts as having the keyboard while a menu or an alert of its own has it.
    Observation observeKeyState(std::function<void(bool isKey)> observer) {
        return keyState.add(std::move(observer));
    }

private:
    struct AlphaRun {
        Animated<double> value;
        Work completion;
    };

    void pointerMoved(Point at) override;
    void pointerLeft() override;
    void pointerPressed(const PointerPress& press) override;
    void pointerReleased(Point at, PointerButton button) override;
    void scrolled(Point at, double down, double right) override;
    void keyPressed(const KeyEvent& event) override;
    void textComposed(const MarkedText& text) override;
    void keyStateChanged(bool isKey) override;
    void frameChanged(bool hasResized, bool hasMoved) override;
    void needsDisplay() override;
    void closeRequested() override;

    /// The frame, in the points of the events.
    Rect content() const;
    Surface surface() const;
    Chrome chrome() const;
    void updateChrome();
    void updateCursor();
    void updateKeyState();
    void requestFrame();
    /// Draws anew when the tree changes by time alone, as a caret does.
    void waitForNextChange();
    void tick();
    void tickAlpha(double now);
    void forget();

    NSWindow& window_;
    Renderer& renderer;
    RootMaker maker;
    Chrome chrome_;
    WindowManners manners;
    KeyHandler onUnhandledKey_;
    std::shared_ptr<ViewTree> tree_;
    std::optional<Point> pointer_;
    std::optional<WindowDrag> drag;
    std::optional<Cursor> cursor;
    std::optional<AlphaRun> alpha;
    std::unique_ptr<Presenter> presenter;
    ObserverList<> resized;
    ObserverList<> moved;
    ObserverList<> closing;
    ObserverList<bool> keyState;
    std::unique_ptr<NSTimer> frameTimer;
    std::unique_ptr<NSTimer> changeTimer;
    /// When the next frame may be drawn, by `RunLoop::uptime`.
    double nextFrame = 0;
    bool isFrameRequested = false;
    bool isKey = false;
    bool isWithdrawn = false;
    /// The window holds less than the tree's last frame.
    bool isPixelLost = true;
    Observation forgetting;
    Lifetime lifetime;
};

}  // namespace vellumix::view
