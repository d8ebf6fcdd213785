#include "platform/x11/windows/ScreenWindow.h"

#include <cmath>

#include "platform/foundation/loop/Log.h"
#include "platform/x11/windows/WindowHints.h"
#include "platform/x11/windows/WindowShape.h"

namespace vellumix::x11 {

namespace {

constexpr double shadowRoom = 24;
/// So much of the shadow still takes the pointer, as a handle to resize by.
constexpr double resizeHandle = 6;
constexpr double keepPixelsSeconds = 10;

}  // namespace

ScreenWindow::ScreenWindow(WindowServer& server, const Options& options)
    : _server(server),
      _connection(server._connection),
      _kind(options.kind),
      _title(options.title),
      _format(isFloating() ? server._alpha : server._plain),
      _managed(_connection, server._windowManager),
      _pixels(_connection, _format.depth),
      _frame(options.frame) {
    make();
}

void ScreenWindow::make() {
    auto* const xcb = _connection.xcb();
    _id = xcb_generate_id(xcb);
    _managed.setWindow(_id);
    _context = xcb_generate_id(xcb);
    std::uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    if (!isFloating()) {
        events |= XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE;
    }
    const xcb_create_window_value_list_t values{
        .background_pixmap = XCB_BACK_PIXMAP_NONE,
        .border_pixel = 0,
        .bit_gravity = XCB_GRAVITY_NORTH_WEST,
        .override_redirect = isFloating(),
        .event_mask = events,
        .colormap = _format.colormap ? _format.colormap : _server._screen.default_colormap,
    };
    const auto at = area();
    xcb_create_window_aux(xcb, _format.depth, _id, _connection.root(), static_cast<std::int16_t>(at.x),
                          static_cast<std::int16_t>(at.y), static_cast<std::uint16_t>(at.width),
                          static_cast<std::uint16_t>(at.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          _format.visual,
                          XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY |
                              XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          &values);
    const std::uint32_t withoutExposures = 0;
    xcb_create_gc(xcb, _context, _id, XCB_GC_GRAPHICS_EXPOSURES, &withoutExposures);
    describeWindow(_connection, _id, {.kind = _kind, .frame = _frame, .title = _title});
    if (!isFloating()) {
        fixSize(_connection, _id, static_cast<std::uint32_t>(at.width),
                static_cast<std::uint32_t>(at.height));
    }
    cutShape();
    _server._pointer.select(_id);
    _events = _connection.observe(_id, [this](const auto& event) { handle(event); });
    _server._windows[_id] = this;
}

void ScreenWindow::isLost(const char* how) {
    Log("Windows").error(std::string("Another program has ") + how +
                         " a window of this one; it counts as closed");
    const bool wasVisible = _isVisible;
    orderOut();
    _server._windows.erase(_id);
    xcb_free_gc(_connection.xcb(), _context);
    xcb_destroy_window(_connection.xcb(), _id);
    make();
    showAlpha();
    if (auto shape = std::exchange(_cursor, Cursor::arrow); shape != Cursor::arrow) setCursor(shape);
    if (wasVisible) tellLater([](NSWindowDelegate& told) { told.closeRequested(); });
}

void ScreenWindow::checkLater() {
    if (!isFloating() || !_isMapped || std::exchange(_isCheckDue, true)) return;
    _connection.runLoop().post(_lifetime.weakly([this] {
        _isCheckDue = false;
        if (_isMapped) check();
    }));
}

void ScreenWindow::check() {
    auto* const xcb = _connection.xcb();
    const auto attributesAsked = xcb_get_window_attributes(xcb, _id);
    const auto geometryAsked = xcb_get_geometry(xcb, _id);
    const auto treeAsked = xcb_query_tree(xcb, _id);
    const auto attributes = xcb::await<xcb_get_window_attributes_reply>(xcb, attributesAsked);
    const auto geometry = xcb::await<xcb_get_geometry_reply>(xcb, geometryAsked);
    const auto tree = xcb::await<xcb_query_tree_reply>(xcb, treeAsked);
    // The end of the window is announced by itself.
    if (!attributes || !geometry || !tree) return;
    if (attributes->map_state != XCB_MAP_STATE_VIEWABLE || tree->parent != tree->root)
        return isLost("hidden");
    const auto expected = area();
    if (geometry->x != expected.x || geometry->y != expected.y ||
        geometry->width != std::max(expected.width, 1) || geometry->height != std::max(expected.height, 1)) {
        place();
    }
}

ScreenWindow::~ScreenWindow() {
    unmap();
    _delegate = nullptr;
    _server._windows.erase(_id);
    _server._keys.remove(*this);
    xcb_free_gc(_connection.xcb(), _context);
    xcb_destroy_window(_connection.xcb(), _id);
}

void ScreenWindow::tellLater(std::function<void(NSWindowDelegate&)> what) {
    _connection.runLoop().post(_lifetime.weakly([this, what = std::move(what)] {
        if (_delegate) what(*_delegate);
    }));
}

void ScreenWindow::tellFrame(const Rect& before) {
    const bool hasResized = !(_frame.size == before.size);
    const bool hasMoved = !(_frame.origin == before.origin);
    if (hasResized || hasMoved) {
        tellLater([=](NSWindowDelegate& told) { told.frameChanged(hasResized, hasMoved); });
    }
}

ScreenWindow::Area ScreenWindow::area() const {
    const double scale = backingScaleFactor();
    const auto insets = shadowInsets();
    const auto pixels = [&](double length) {
        return static_cast<int>(std::ceil(std::max(length, 0.0) * scale));
    };
    const auto place = [&](double at, double inset) {
        return static_cast<int>(std::lround(at * scale) - std::lround(inset * scale));
    };
    return {place(_frame.minX(), insets.leading), place(_frame.minY(), insets.top),
            pixels(_frame.size.width + insets.leading + insets.trailing),
            pixels(_frame.size.height + insets.top + insets.bottom)};
}

void ScreenWindow::place() {
    const auto to = area();
    const auto width = static_cast<std::uint32_t>(std::max(to.width, 1));
    const auto height = static_cast<std::uint32_t>(std::max(to.height, 1));
    if (!isFloating()) fixSize(_connection, _id, width, height);
    const xcb_configure_window_value_list_t values{.x = to.x, .y = to.y, .width = width, .height = height};
    xcb_configure_window_aux(
        _connection.xcb(), _id,
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
        &values);
}

void ScreenWindow::setFrame(const Rect& frame) {
    if (frame == _frame) return;
    const auto before = std::exchange(_frame, frame);
    place();
    if (!(before.size == frame.size)) cutShape();
    // Of a window with a frame only the window manager knows; it was asked, and answers with an event.
    if (!isFloating() && _isMapped) {
        _frame = before;
        return;
    }
    tellFrame(before);
}

Insets ScreenWindow::shadowInsets() const { return isTranslucent() ? Insets::all(shadowRoom) : Insets(); }

bool ScreenWindow::isTranslucent() const {
    return isFloating() && _server.hasCompositor() && _format.depth > _server._plain.depth;
}

void ScreenWindow::setCornerRadius(double radius) {
    if (std::exchange(_cornerRadius, radius) != radius) cutShape();
}

void ScreenWindow::cutShape() {
    if (!isFloating()) return;
    const auto size = area();
    const auto pixels = [scale = backingScaleFactor()](double points) {
        return static_cast<int>(std::lround(points * scale));
    };
    const WindowShape shape{.width = size.width,
                            .height = size.height,
                            .cornerRadius = isTranslucent() ? 0 : pixels(_cornerRadius),
                            .inputMargin = isTranslucent() ? pixels(shadowRoom - resizeHandle) : 0,
                            .takesPointer = _kind != Kind::toolTip && !_ignoresMouseEvents};
    shape.apply(_connection, _id);
}

void ScreenWindow::setAlphaValue(double alpha) {
    alpha = std::clamp(alpha, 0.0, 1.0);
    if (std::exchange(_alpha, alpha) == alpha) return;
    _hasFadedOut = _isVisible && alpha == 0;
    showAlpha();
}

void ScreenWindow::showAlpha() {
    auto* const xcb = _connection.xcb();
    constexpr double opaque = 0xFFFFFFFF;
    const auto opacity = static_cast<std::uint32_t>(_alpha * opaque);
    if (_server.hasCompositor() && _alpha < 1) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, _id, _connection.atoms().windowOpacity,
                            XCB_ATOM_CARDINAL, 32, 1, &opacity);
    } else {
        xcb_delete_property(xcb, _id, _connection.atoms().windowOpacity);
    }
    if (_isVisible) showNow();
}

void ScreenWindow::orderFrontRegardless() {
    _isVisible = true;
    // A window that is about to fade in is there at once where nothing can be faded.
    _hasFadedOut = false;
    _release.reset();
    showNow();
    if (_isMapped) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(_connection.xcb(), _id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    }
}

void ScreenWindow::showNow() {
    if (isFloating() && _hasFadedOut && !_server.hasCompositor()) {
        unmap();
        return;
    }
    if (_isMapped) return;
    const auto size = area();
    if (_pixels.has(size.width, size.height)) {
        mapWithContent();
    } else {
        tellLater([](NSWindowDelegate& told) { told.needsDisplay(); });
    }
}

void ScreenWindow::mapWithContent() {
    auto* const xcb = _connection.xcb();
    const auto size = area();
    // The server paints the background in the moment of mapping: nothing else is ever seen.
    const auto content = xcb_generate_id(xcb);
    xcb_create_pixmap(xcb, _format.depth, content, _id, static_cast<std::uint16_t>(size.width),
                      static_cast<std::uint16_t>(size.height));
    _pixels.put(content, _context);
    const std::uint32_t background = content;
    xcb_change_window_attributes(xcb, _id, XCB_CW_BACK_PIXMAP, &background);
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(xcb, _id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_map_window(xcb, _id);
    const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
    if (isFloating()) xcb_change_window_attributes(xcb, _id, XCB_CW_BACK_PIXMAP, &none);
    xcb_free_pixmap(xcb, content);
    _isMapped = true;
}

void ScreenWindow::unmap() {
    if (!std::exchange(_isMapped, false)) return;
    xcb_unmap_window(_connection.xcb(), _id);
    _isViewable = false;
    if (_kind == Kind::alert) _server.stackFloating(XCB_WINDOW_NONE);
}

void ScreenWindow::standAbovePanels() {
    if (_kind == Kind::alert && _isViewable) _server.stackFloating(_managed.frame());
}

void ScreenWindow::orderOut() {
    if (!std::exchange(_isVisible, false)) return;
    unmap();
    resignKeyWindow();
    _release = _connection.runLoop().oneShotTimer(keepPixelsSeconds, [this] { _pixels.release(); });
}

void ScreenWindow::makeKeyWindow() {
    if (!_isVisible || _kind == Kind::toolTip || isKeyWindow()) return;
    if (isFloating()) {
        _server._keys.add(*this);
        return;
    }
    _managed.setWantsActivation(true);
    if (_isViewable) _managed.activateIfWanted();
}

void ScreenWindow::resignKeyWindow() {
    _managed.setWantsActivation(false);
    _server._keys.remove(*this);
}

void ScreenWindow::setIgnoresMouseEvents(bool ignores) {
    if (std::exchange(_ignoresMouseEvents, ignores) != ignores) cutShape();
}

void ScreenWindow::keyStateChanges(bool isKey) {
    tellLater([isKey](NSWindowDelegate& told) { told.keyStateChanged(isKey); });
}

void ScreenWindow::keyTyped(const KeyEvent& event) {
    if (_delegate) _delegate->keyPressed(event);
}

void ScreenWindow::textComposed(const MarkedText& text) {
    if (_delegate) _delegate->textComposed(text);
}

void ScreenWindow::setTextInput(std::optional<Rect> caret) {
    _textInput = caret;
    _server._keys.textCaretChanged(*this);
}

std::optional<xcb_point_t> ScreenWindow::textCaret() const {
    if (!_textInput) return std::nullopt;
    const auto corner = area();
    const double scale = backingScaleFactor();
    // The foot of the caret, where candidates are listed.
    return xcb_point_t{static_cast<std::int16_t>(corner.x + std::lround(_textInput->minX() * scale)),
                       static_cast<std::int16_t>(corner.y + std::lround(_textInput->maxY() * scale))};
}

void ScreenWindow::setCursor(Cursor cursor) {
    if (std::exchange(_cursor, cursor) == cursor) return;
    const std::uint32_t shape = _server.cursor(cursor);
    xcb_change_window_attributes(_connection.xcb(), _id, XCB_CW_CURSOR, &shape);
}

PixelBuffer ScreenWindow::beginDrawing() {
    const auto size = area();
    return _pixels.begin(size.width, size.height);
}

void ScreenWindow::endDrawing() {
    if (!_pixels.end()) return;
    if (_isMapped) {
        _pixels.put(_id, _context);
    } else if (_isVisible) {
        showNow();
    }
}

void ScreenWindow::surroundingsChanged() {
    place();
    cutShape();
    showAlpha();
    tellLater([](NSWindowDelegate& told) { told.needsDisplay(); });
}

void ScreenWindow::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_EXPOSE: {
            const auto size = area();
            if (_pixels.has(size.width, size.height)) {
                if (xcb::as<xcb_expose_event_t>(event).count == 0) _pixels.put(_id, _context);
            } else if (_isMapped) {
                tellLater([](NSWindowDelegate& told) { told.needsDisplay(); });
            }
            break;
        }
        case XCB_MAP_NOTIFY:
            _isViewable = _isMapped;
            standAbovePanels();
            if (_isViewable) _managed.activateIfWanted();
            break;
        case XCB_CONFIGURE_NOTIFY:
            configured(xcb::as<xcb_configure_notify_event_t>(event), xcb::isSent(event));
            break;
        case XCB_REPARENT_NOTIFY:
            _managed.reparented();
            checkLater();
            break;
        case XCB_UNMAP_NOTIFY:
            checkLater();
            break;
        case XCB_DESTROY_NOTIFY:
            return isLost("destroyed");
        case XCB_FOCUS_IN:
        case XCB_FOCUS_OUT:
            focusChanged(xcb::as<xcb_focus_in_event_t>(event));
            break;
        case XCB_KEY_PRESS:
        case XCB_KEY_RELEASE:
            if (isKeyWindow()) _server._keys.handleKey(event);
            break;
        case XCB_CLIENT_MESSAGE:
            if (_managed.asksToClose(xcb::as<xcb_client_message_event_t>(event)) && _delegate) {
                _delegate->closeRequested();
            }
            break;
        default:
            break;
    }
}

void ScreenWindow::focusChanged(const xcb_focus_in_event_t& event) {
    // A grab of the keyboard, ours or another's, moves the keys and not the focus.
    if (event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB ||
        event.detail == XCB_NOTIFY_DETAIL_POINTER || event.detail == XCB_NOTIFY_DETAIL_INFERIOR) {
        return;
    }
    if ((event.response_type & 0x7F) == XCB_FOCUS_OUT) {
        _server._keys.remove(*this);
    } else if (_isVisible) {
        standAbovePanels();
        _server._keys.add(*this);
    }
}

void ScreenWindow::configured(const xcb_configure_notify_event_t& event, bool isSynthetic) {
    if (isFloating()) return checkLater();
    const auto origin = _managed.originOf(event, isSynthetic);
    if (!origin) return;
    const double scale = backingScaleFactor();
    const auto expected = area();
    const auto before = _frame;
    if (expected.x != static_cast<int>(origin->x) || expected.y != static_cast<int>(origin->y)) {
        _frame.origin = {origin->x / scale, origin->y / scale};
    }
    if (expected.width != event.width || expected.height != event.height) {
        _frame.size = {event.width / scale, event.height / scale};
    }
    tellFrame(before);
}

}  // namespace vellumix::x11
