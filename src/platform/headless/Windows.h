#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "platform/desktop/Window.h"
#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/ObserverList.h"

namespace vellumix::headless {

class WindowServer;

/// A window in memory, whose pixels can be read and which is told what a person does with it.
class Window final : public NSWindow {
public:
    Window(WindowServer& server, const Options& options);
    ~Window() override;
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    void setDelegate(NSWindowDelegate* delegate) override { delegate_ = delegate; }
    Rect frame() const override { return frame_; }
    void setFrame(const Rect& frame) override;
    std::optional<NSScreen> screen() const override;
    double backingScaleFactor() const override;
    Insets shadowInsets() const override;
    bool isTranslucent() const override;
    void setCornerRadius(double radius) override { cornerRadius = radius; }
    double alphaValue() const override { return alpha; }
    void setAlphaValue(double alpha) override { this->alpha = alpha; }
    bool isVisible() const override { return isVisible_; }
    void orderFrontRegardless() override;
    void orderOut() override;
    void makeKeyWindow() override;
    bool isKeyWindow() const override;
    void resignKeyWindow() override;
    void setIgnoresMouseEvents(bool ignores) override { ignoresMouseEvents = ignores; }
    void setCursor(Cursor wanted) override { cursor = wanted; }
    void setTextInput(std::optional<Rect> caret) override { textInput = caret; }
    PixelBuffer beginDrawing() override;
    void endDrawing() override { ++drawings; }

    /// What a person does to the window is told here.
    NSWindowDelegate* delegate() const { return delegate_; }

    Options options;
    double cornerRadius = 0;
    Cursor cursor = Cursor::arrow;
    bool ignoresMouseEvents = false;
    std::optional<Rect> textInput;
    /// How often something was drawn.
    int drawings = 0;
    /// What was drawn last, rows without padding.
    Bytes pixels;

private:
    /// On a later turn of the loop, if both are still there.
    void tellLater(std::function<void(NSWindowDelegate&)> what);

    friend class WindowServer;
    WindowServer& server;
    NSWindowDelegate* delegate_ = nullptr;
    Rect frame_;
    double alpha = 1;
    bool isVisible_ = false;
    Lifetime lifetime;
};

/// Monitors and windows in memory.
class WindowServer final : public vellumix::WindowServer {
public:
    explicit WindowServer(RunLoop& runLoop) : runLoop(runLoop) {}

    std::unique_ptr<NSWindow> makeWindow(const NSWindow::Options& options) override;
    std::vector<NSScreen> screens() const override { return monitors; }
    std::optional<NSScreen> mainScreen() const override;
    Point mouseLocation() const override { return pointer; }
    Observation observeScreenParameters(std::function<void()> observer) override {
        return screenObservers.add(std::move(observer));
    }
    Observation observeActiveSpace(std::function<void()> observer) override {
        return spaceObservers.add(std::move(observer));
    }
    Observation observeSessionResign(std::function<void()> observer) override {
        return sessionObservers.add(std::move(observer));
    }
    Observation addGlobalMonitorForMouseDown(std::function<void()> handler) override;
    Observation addGlobalMonitorForMouseUp(std::function<void()> handler) override;

    /// The windows that are there, the one in front last.
    const std::vector<Window*>& windows() const { return windows_; }
    /// The window with the keyboard; null where no window of the program has it.
    Window* keyWindow() const;
    /// The window of the kind that is shown in front of all others of it; null where there is none.
    Window* shown(NSWindow::Kind kind) const;

    /// Puts other monitors in place of the present ones.
    void setMonitors(std::vector<NSScreen> screens);
    void changeActiveSpace() { spaceObservers.notify(); }
    void resignSession() { sessionObservers.notify(); }
    /// Somebody presses a button on another program's window, or on nothing.
    void pressElsewhere(Point at);
    /// Somebody lets a button go, wherever it was pressed.
    void releaseButton() { releaseHandlers.notify(); }
    bool isMonitoringMouse() const { return !mouseHandlers.empty() || !releaseHandlers.empty(); }

    std::vector<NSScreen> monitors{{{{0, 0}, {1280, 800}}, {{0, 28}, {1280, 772}}}};
    /// Which of them the active window is on.
    std::size_t activeMonitor = 0;
    Point pointer{640, 400};
    double scale = 1;
    bool hasCompositor = true;
    /// A desktop that doesn't tell of presses elsewhere.
    bool refusesMonitors = false;

private:
    friend class Window;

    RunLoop& runLoop;
    std::vector<Window*> windows_;
    /// Those that have asked for the keyboard and are shown; the last one has it.
    std::vector<Window*> keyOrder;
    ObserverList<> screenObservers;
    ObserverList<> spaceObservers;
    ObserverList<> sessionObservers;
    ObserverList<> mouseHandlers;
    ObserverList<> releaseHandlers;
};

}  // namespace vellumix::headless
