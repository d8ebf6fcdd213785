#pragma once

#include "platform/x11/windows/ManagedWindow.h"
#include "platform/x11/windows/WindowPixels.h"
#include "platform/x11/windows/WindowServer.h"

namespace vellumix::x11 {

/// A window on the display. Panels, menus and tool tips are placed past the window manager
/// (override-redirect); alerts and titled windows are given to it. A window is mapped with its content, so
/// one that nothing was drawn for waits for its first drawing.
///
/// One that another program destroys or hides is closed: no window has the keyboard and isn't on the screen.
/// It is made anew for the next time. One past the window manager that another program moves or resizes is
/// put back.
class ScreenWindow final : public NSWindow, private KeyTarget {
public:
    ScreenWindow(WindowServer& server, const Options& options);
    ~ScreenWindow() override;
    ScreenWindow(const ScreenWindow&) = delete;
    ScreenWindow& operator=(const ScreenWindow&) = delete;

    void setDelegate(NSWindowDelegate* delegate) override { delegate_ = delegate; }
    Rect frame() const override { return frame_; }
    void setFrame(const Rect& frame) override;
    std::optional<NSScreen> screen() const override { return server.screens_.mostOf(frame_); }
    double backingScaleFactor() const override { return server.screens_.scale(); }
    Insets shadowInsets() const override;
    bool isTranslucent() const override;
    void setCornerRadius(double radius) override;
    double alphaValue() const override { return alpha; }
    void setAlphaValue(double alpha) override;
    bool isVisible() const override { return isVisible_; }
    void orderFrontRegardless() override;
    void orderOut() override;
    void makeKeyWindow() override;
    bool isKeyWindow() const override { return server.keys.key() == this; }
    void resignKeyWindow() override;
    void setIgnoresMouseEvents(bool ignores) override;
    void setCursor(Cursor cursor) override;
    void setTextInput(std::optional<Rect> caret) override;
    PixelBuffer beginDrawing() override;
    void endDrawing() override;

    /// Past the window manager.
    bool isFloating() const { return kind != Kind::alert && kind != Kind::titled; }
    NSWindowDelegate* delegate() const { return delegate_; }
    xcb_window_t id() const { return id_; }
    /// The child of the root that a window manager has put the window into; the window itself without one.
    xcb_window_t frameWindow() const { return managed.frame(); }
    /// The scale, the compositor or the monitors are others now.
    void surroundingsChanged();

private:
    /// In pixels of the root, with the room for the shadow.
    struct Area {
        int x = 0;
        int y = 0;
        int width = 1;
        int height = 1;
    };

    bool isGrabbing() const override { return isFloating(); }
    void keyStateChanges(bool isKey) override;
    void keyTyped(const KeyEvent& event) override;
    std::optional<xcb_point_t> textCaret() const override;
    void textComposed(const MarkedText& text) override;

    void make();
    void isLost(const char* how);
    void checkLater();
    void check();
    Area area() const;
    void place();
    void cutShape();
    void showAlpha();
    void showNow();
    void mapWithContent();
    void unmap();
    void handle(const xcb_generic_event_t& event);
    void focusChanged(const xcb_focus_in_event_t& event);
    void configured(const xcb_configure_notify_event_t& event, bool isSynthetic);
    /// An alert stands above the panel that it is about.
    void standAbovePanels();
    /// On a later turn of the loop, if both are still there.
    void tellLater(std::function<void(NSWindowDelegate&)> what);
    void tellFrame(const Rect& before);

    WindowServer& server;
    Connection& connection;
    Kind kind;
    String title;
    WindowServer::Format format;
    xcb_window_t id_ = XCB_WINDOW_NONE;
    ManagedWindow managed;
    xcb_gcontext_t context = XCB_NONE;
    WindowPixels pixels;
    NSWindowDelegate* delegate_ = nullptr;
    Rect frame_;
    double alpha = 1;
    /// The alpha value has come to 0 while the window was to be seen.
    bool hasFadedOut = false;
    double cornerRadius = 0;
    Cursor cursor = Cursor::arrow;
    std::optional<Rect> textInput;
    bool ignoresMouseEvents = false;
    bool isVisible_ = false;
    bool isMapped = false;
    bool isViewable = false;
    bool isCheckDue = false;
    std::unique_ptr<NSTimer> release;
    Observation events;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
