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
    : server(server),
      connection(server.connection),
      kind(options.kind),
      title(options.title),
      format(isFloating() ? server.alpha : server.plain),
      managed(connection, server.windowManager),
      pixels(connection, format.depth),
      frame_(options.frame) {
    make();
}

void ScreenWindow::make() {
    auto* const xcb = connection.xcb();
    id_ = xcb_generate_id(xcb);
    managed.setWindow(id_);
    context = xcb_generate_id(xcb);
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
        .colormap = format.colormap ? format.colormap : server.screen_.default_colormap,
    };
    const auto at = area();
    xcb_create_window_aux(xcb, format.depth, id_, connection.root(), static_cast<std::int16_t>(at.x),
                          static_cast<std::int16_t>(at.y), static_cast<std::uint16_t>(at.width),
                          static_cast<std::uint16_t>(at.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          format.visual,
                          XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY |
                              XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          &values);
    const std::uint32_t withoutExposures = 0;
    xcb_create_gc(xcb, context, id_, XCB_GC_GRAPHICS_EXPOSURES, &withoutExposures);
    describeWindow(connection, id_, {.kind = kind, .frame = frame_, .title = title});
    if (!isFloating()) {
        fixSize(connection, id_, static_cast<std::uint32_t>(at.width), static_cast<std::uint32_t>(at.height));
    }
    cutShape();
    server.pointer.select(id_);
    this->events = connection.observe(id_, [this](const auto& event) { handle(event); });
    server.windows[id_] = this;
}

void ScreenWindow::isLost(const char* how) {
    Log("Windows").error(std::string("Another program has ") + how +
                         " a window of this one; it counts as closed");
    const bool wasVisible = isVisible_;
    orderOut();
    server.windows.erase(id_);
    xcb_free_gc(connection.xcb(), context);
    xcb_destroy_window(connection.xcb(), id_);
    make();
    showAlpha();
    if (auto shape = std::exchange(cursor, Cursor::arrow); shape != Cursor::arrow) setCursor(shape);
    if (wasVisible) tellLater([](NSWindowDelegate& told) { told.closeRequested(); });
}

void ScreenWindow::checkLater() {
    if (!isFloating() || !isMapped || std::exchange(isCheckDue, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isCheckDue = false;
        if (isMapped) check();
    }));
}

void ScreenWindow::check() {
    auto* const xcb = connection.xcb();
    const auto attributesAsked = xcb_get_window_attributes(xcb, id_);
    const auto geometryAsked = xcb_get_geometry(xcb, id_);
    const auto treeAsked = xcb_query_tree(xcb, id_);
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
    delegate_ = nullptr;
    server.windows.erase(id_);
    server.keys.remove(*this);
    xcb_free_gc(connection.xcb(), context);
    xcb_destroy_window(connection.xcb(), id_);
}

void ScreenWindow::tellLater(std::function<void(NSWindowDelegate&)> what) {
    connection.runLoop().post(lifetime.weakly([this, what = std::move(what)] {
        if (delegate_) what(*delegate_);
    }));
}

void ScreenWindow::tellFrame(const Rect& before) {
    const bool hasResized = !(frame_.size == before.size);
    const bool hasMoved = !(frame_.origin == before.origin);
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
    return {place(frame_.minX(), insets.leading), place(frame_.minY(), insets.top),
            pixels(frame_.size.width + insets.leading + insets.trailing),
            pixels(frame_.size.height + insets.top + insets.bottom)};
}

void ScreenWindow::place() {
    const auto to = area();
    const auto width = static_cast<std::uint32_t>(std::max(to.width, 1));
    const auto height = static_cast<std::uint32_t>(std::max(to.height, 1));
    if (!isFloating()) fixSize(connection, id_, width, height);
    const xcb_configure_window_value_list_t values{.x = to.x, .y = to.y, .width = width, .height = height};
    xcb_configure_window_aux(
        connection.xcb(), id_,
        XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
        &values);
}

void ScreenWindow::setFrame(const Rect& frame) {
    if (frame == frame_) return;
    const auto before = std::exchange(frame_, frame);
    place();
    if (!(before.size == frame.size)) cutShape();
    // Of a window with a frame only the window manager knows; it was asked, and answers with an event.
    if (!isFloating() && isMapped) {
        frame_ = before;
        return;
    }
    tellFrame(before);
}

Insets ScreenWindow::shadowInsets() const { return isTranslucent() ? Insets::all(shadowRoom) : Insets(); }

bool ScreenWindow::isTranslucent() const {
    return isFloating() && server.hasCompositor() && format.depth > server.plain.depth;
}

void ScreenWindow::setCornerRadius(double radius) {
    if (std::exchange(cornerRadius, radius) != radius) cutShape();
}

void ScreenWindow::cutShape() {
    if (!isFloating()) return;
    const auto size = area();
    const auto pixels = [scale = backingScaleFactor()](double points) {
        return static_cast<int>(std::lround(points * scale));
    };
    const WindowShape shape{.width = size.width,
                            .height = size.height,
                            .cornerRadius = isTranslucent() ? 0 : pixels(cornerRadius),
                            .inputMargin = isTranslucent() ? pixels(shadowRoom - resizeHandle) : 0,
                            .takesPointer = kind != Kind::toolTip && !ignoresMouseEvents};
    shape.apply(connection, id_);
}

void ScreenWindow::setAlphaValue(double alpha) {
    alpha = std::clamp(alpha, 0.0, 1.0);
    if (std::exchange(this->alpha, alpha) == alpha) return;
    hasFadedOut = isVisible_ && alpha == 0;
    showAlpha();
}

void ScreenWindow::showAlpha() {
    auto* const xcb = connection.xcb();
    constexpr double opaque = 0xFFFFFFFF;
    const auto opacity = static_cast<std::uint32_t>(alpha * opaque);
    if (server.hasCompositor() && alpha < 1) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, id_, connection.atoms().windowOpacity,
                            XCB_ATOM_CARDINAL, 32, 1, &opacity);
    } else {
        xcb_delete_property(xcb, id_, connection.atoms().windowOpacity);
    }
    if (isVisible_) showNow();
}

void ScreenWindow::orderFrontRegardless() {
    isVisible_ = true;
    // A window that is about to fade in is there at once where nothing can be faded.
    hasFadedOut = false;
    release.reset();
    showNow();
    if (isMapped) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(connection.xcb(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    }
}

void ScreenWindow::showNow() {
    if (isFloating() && hasFadedOut && !server.hasCompositor()) {
        unmap();
        return;
    }
    if (isMapped) return;
    const auto size = area();
    if (pixels.has(size.width, size.height)) {
        mapWithContent();
    } else {
        tellLater([](NSWindowDelegate& told) { told.needsDisplay(); });
    }
}

void ScreenWindow::mapWithContent() {
    auto* const xcb = connection.xcb();
    const auto size = area();
    // The server paints the background in the moment of mapping: nothing else is ever seen.
    const auto content = xcb_generate_id(xcb);
    xcb_create_pixmap(xcb, format.depth, content, id_, static_cast<std::uint16_t>(size.width),
                      static_cast<std::uint16_t>(size.height));
    pixels.put(content, context);
    const std::uint32_t background = content;
    xcb_change_window_attributes(xcb, id_, XCB_CW_BACK_PIXMAP, &background);
    const std::uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(xcb, id_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_map_window(xcb, id_);
    const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
    if (isFloating()) xcb_change_window_attributes(xcb, id_, XCB_CW_BACK_PIXMAP, &none);
    xcb_free_pixmap(xcb, content);
    isMapped = true;
}

void ScreenWindow::unmap() {
    if (!std::exchange(isMapped, false)) return;
    xcb_unmap_window(connection.xcb(), id_);
    isViewable = false;
    if (kind == Kind::alert) server.stackFloating(XCB_WINDOW_NONE);
}

void ScreenWindow::standAbovePanels() {
    if (kind == Kind::alert && isViewable) server.stackFloating(managed.frame());
}

void ScreenWindow::orderOut() {
    if (!std::exchange(isVisible_, false)) return;
    unmap();
    resignKeyWindow();
    release = connection.runLoop().oneShotTimer(keepPixelsSeconds, [this] { pixels.release(); });
}

void ScreenWindow::makeKeyWindow() {
    if (!isVisible_ || kind == Kind::toolTip || isKeyWindow()) return;
    if (isFloating()) {
        server.keys.add(*this);
        return;
    }
    managed.setWantsActivation(true);
    if (isViewable) managed.activateIfWanted();
}

void ScreenWindow::resignKeyWindow() {
    managed.setWantsActivation(false);
    server.keys.remove(*this);
}

void ScreenWindow::setIgnoresMouseEvents(bool ignores) {
    if (std::exchange(ignoresMouseEvents, ignores) != ignores) cutShape();
}

void ScreenWindow::keyStateChanges(bool isKey) {
    tellLater([isKey](NSWindowDelegate& told) { told.keyStateChanged(isKey); });
}

void ScreenWindow::keyTyped(const KeyEvent& event) {
    if (delegate_) delegate_->keyPressed(event);
}

void ScreenWindow::textComposed(const MarkedText& text) {
    if (delegate_) delegate_->textComposed(text);
}

void ScreenWindow::setTextInput(std::optional<Rect> caret) {
    textInput = caret;
    server.keys.textCaretChanged(*this);
}

std::optional<xcb_point_t> ScreenWindow::textCaret() const {
    if (!textInput) return std::nullopt;
    const auto corner = area();
    const double scale = backingScaleFactor();
    // The foot of the caret, where candidates are listed.
    return xcb_point_t{static_cast<std::int16_t>(corner.x + std::lround(textInput->minX() * scale)),
                       static_cast<std::int16_t>(corner.y + std::lround(textInput->maxY() * scale))};
}

void ScreenWindow::setCursor(Cursor cursor) {
    if (std::exchange(this->cursor, cursor) == cursor) return;
    const std::uint32_t shape = server.cursor(cursor);
    xcb_change_window_attributes(connection.xcb(), id_, XCB_CW_CURSOR, &shape);
}

PixelBuffer ScreenWindow::beginDrawing() {
    const auto size = area();
    return pixels.begin(size.width, size.height);
}

void ScreenWindow::endDrawing() {
    if (!pixels.end()) return;
    if (isMapped) {
        pixels.put(id_, context);
    } else if (isVisible_) {
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
            if (pixels.has(size.width, size.height)) {
                if (xcb::as<xcb_expose_event_t>(event).count == 0) pixels.put(id_, context);
            } else if (isMapped) {
                tellLater([](NSWindowDelegate& told) { told.needsDisplay(); });
            }
            break;
        }
        case XCB_MAP_NOTIFY:
            isViewable = isMapped;
            standAbovePanels();
            if (isViewable) managed.activateIfWanted();
            break;
        case XCB_CONFIGURE_NOTIFY:
            configured(xcb::as<xcb_configure_notify_event_t>(event), xcb::isSent(event));
            break;
        case XCB_REPARENT_NOTIFY:
            managed.reparented();
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
            if (isKeyWindow()) server.keys.handleKey(event);
            break;
        case XCB_CLIENT_MESSAGE:
            if (managed.asksToClose(xcb::as<xcb_client_message_event_t>(event)) && delegate_) {
                delegate_->closeRequested();
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
        server.keys.remove(*this);
    } else if (isVisible_) {
        standAbovePanels();
        server.keys.add(*this);
    }
}

void ScreenWindow::configured(const xcb_configure_notify_event_t& event, bool isSynthetic) {
    if (isFloating()) return checkLater();
    const auto origin = managed.originOf(event, isSynthetic);
    if (!origin) return;
    const double scale = backingScaleFactor();
    const auto expected = area();
    const auto before = frame_;
    if (expected.x != static_cast<int>(origin->x) || expected.y != static_cast<int>(origin->y)) {
        frame_.origin = {origin->x / scale, origin->y / scale};
    }
    if (expected.width != event.width || expected.height != event.height) {
        frame_.size = {event.width / scale, event.height / scale};
    }
    tellFrame(before);
}

}  // namespace vellumix::x11
