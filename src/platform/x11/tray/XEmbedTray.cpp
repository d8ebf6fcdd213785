#include "platform/x11/tray/XEmbedTray.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/linux/tray/StatusIcon.h"
#include "platform/x11/windows/WindowHints.h"

namespace vellumix::x11 {

namespace {

constexpr std::uint8_t depthWithAlpha = 32;
/// In points; a tray gives the icon another size as it likes.
constexpr double askedSide = 24;
/// In pixels.
constexpr int largestSide = 128;

/// The icon's pixels, which are not premultiplied, on those that are there.
void blend(std::span<const std::uint8_t> icon, std::span<std::uint32_t> ground) {
    constexpr std::uint32_t opaque = 255;
    for (std::size_t at = 0; at < ground.size(); ++at) {
        const auto pixel = icon.subspan(4 * at, 4);
        const std::uint32_t alpha = pixel[0];
        std::uint32_t mixed = 0;
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const std::uint32_t above = channel == 0 ? opaque : pixel[channel];
            const std::uint32_t below = ground[at] >> (24 - 8 * channel) & 0xFF;
            mixed = mixed << 8 | (above * alpha + below * (opaque - alpha) + opaque / 2) / opaque;
        }
        ground[at] = mixed;
    }
}

}  // namespace

XEmbedTray::XEmbedTray(Connection& connection, const WindowServer& windows, PressHandler onPress)
    : connection(connection),
      windows(windows),
      onPress(std::move(onPress)),
      manager(connection, "_NET_SYSTEM_TRAY_S" + std::to_string(windows.screenNumber())) {
    managerChanges = manager.observe([this] { dock(); });
    dock();
}

XEmbedTray::~XEmbedTray() { undock(); }

void XEmbedTray::setImage(const std::string& symbolName, const std::string& title) {
    this->symbolName = symbolName;
    this->title = title;
    if (window == XCB_WINDOW_NONE) return;
    describe();
    draw();
}

void XEmbedTray::dock() {
    undock();
    const auto tray = manager.owner();
    if (tray == XCB_WINDOW_NONE) return;
    auto* const xcb = connection.xcb();
    const auto& atoms = connection.atoms();
    const auto format = formatOfTray();
    const auto& screen = windows.screen();
    depth = format.depth;
    colormap = xcb_generate_id(xcb);
    xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, colormap, screen.root, format.visual);
    window = xcb_generate_id(xcb);
    width = height = static_cast<int>(std::lround(askedSide * windows.scale()));
    const xcb_create_window_value_list_t values{
        .background_pixel = 0,
        .border_pixel = 0,
        .event_mask = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS,
        .colormap = colormap,
    };
    xcb_create_window_aux(xcb, format.depth, window, screen.root, 0, 0, static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, format.visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          &values);
    context = xcb_generate_id(xcb);
    const std::uint32_t withoutExposures = 0;
    xcb_create_gc(xcb, context, window, XCB_GC_GRAPHICS_EXPOSURES, &withoutExposures);
    events = connection.observe(window, [this](const auto& event) { handle(event); });
    describe();
    askForSize(connection, window, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));

    // The tray maps the window (XEmbed 0.5, "_XEMBED_INFO").
    enum EmbedInfo : std::uint32_t { version = 0, isMapped = 1 };
    const std::uint32_t info[] = {version, isMapped};
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, atoms.embedInfo, atoms.embedInfo, 32,
                        std::size(info), info);
    constexpr std::uint32_t requestDock = 0;
    xcb_client_message_event_t request{};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = tray;
    request.type = atoms.trayOpcode;
    request.data.data32[0] = XCB_CURRENT_TIME;
    request.data.data32[1] = requestDock;
    request.data.data32[2] = window;
    xcb_send_event(xcb, 0, tray, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&request));
}

void XEmbedTray::undock() {
    if (window == XCB_WINDOW_NONE) return;
    auto* const xcb = connection.xcb();
    events = {};
    xcb_free_gc(xcb, context);
    // Harmless when it went with the tray.
    xcb_destroy_window(xcb, window);
    xcb_free_colormap(xcb, colormap);
    window = XCB_WINDOW_NONE;
}

XEmbedTray::Format XEmbedTray::formatOfTray() const {
    auto* const xcb = connection.xcb();
    const auto& screen = windows.screen();
    const auto reply = xcb::await<xcb_get_property_reply>(
        xcb,
        xcb_get_property(xcb, 0, manager.owner(), connection.atoms().trayVisual, XCB_ATOM_VISUALID, 0, 1));
    xcb_visualid_t wanted = screen.root_visual;
    if (reply && reply->format == 32 && reply->value_len == 1) {
        std::memcpy(&wanted, xcb_get_property_value(reply.get()), sizeof wanted);
    }
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth)) {
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == wanted) return {depth.data->depth, wanted};
        }
    }
    return {screen.root_depth, screen.root_visual};
}

void XEmbedTray::describe() {
    describeWindow(connection, window, {.kind = NSWindow::Kind::panel, .title = title});
}

void XEmbedTray::handle(const xcb_generic_event_t& event) {
    switch (xcb::typeOf(event)) {
        case XCB_EXPOSE:
            if (xcb::as<xcb_expose_event_t>(event).count == 0) draw();
            break;
        case XCB_CONFIGURE_NOTIFY: {
            const auto& size = xcb::as<xcb_configure_notify_event_t>(event);
            width = size.width;
            height = size.height;
            break;
        }
        case XCB_REPARENT_NOTIFY:
            reparented(xcb::as<xcb_reparent_notify_event_t>(event).parent);
            break;
        case XCB_DESTROY_NOTIFY:
            undock();
            break;
        case XCB_BUTTON_PRESS:
            pressed(xcb::as<xcb_button_press_event_t>(event));
            break;
        default:
            break;
    }
}

void XEmbedTray::reparented(xcb_window_t parent) {
    // On the root the icon would be a window like others: the tray has put it out.
    if (parent == connection.root()) return undock();
    if (depth == depthWithAlpha) return;
    auto* const xcb = connection.xcb();
    const auto tray = xcb::await<xcb_get_geometry_reply>(xcb, xcb_get_geometry(xcb, parent));
    if (!tray || tray->depth != depth) return;
    const std::uint32_t ofParent = XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(xcb, window, XCB_CW_BACK_PIXMAP, &ofParent);
    draw();
}

void XEmbedTray::pressed(const xcb_button_press_event_t& press) {
    if (press.detail != XCB_BUTTON_INDEX_1 && press.detail != XCB_BUTTON_INDEX_3) return;
    connection.userActed(press.time);
    const double scale = windows.scale();
    const Rect icon{{(press.root_x - press.event_x) / scale, (press.root_y - press.event_y) / scale},
                    {width / scale, height / scale}};
    const auto handler = onPress;
    handler(icon, press.detail == XCB_BUTTON_INDEX_1);
}

void XEmbedTray::draw() {
    auto* const xcb = connection.xcb();
    const int side = std::min({width, height, largestSide});
    xcb_clear_area(xcb, 0, window, 0, 0, 0, 0);
    const auto icon = linux_desktop::statusIcon(symbolName, side);
    if (!icon) return;
    const int x = (width - side) / 2, y = (height - side) / 2;
    auto pixels = ground(x, y, side);
    blend(icon->pixels, pixels);
    const auto length = static_cast<std::uint16_t>(side);
    xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, window, context, length, length,
                  static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0, depth,
                  static_cast<std::uint32_t>(std::span(pixels).size_bytes()),
                  reinterpret_cast<const std::uint8_t*>(pixels.data()));
}

std::vector<std::uint32_t> XEmbedTray::ground(int x, int y, int side) {
    const auto length = static_cast<std::uint16_t>(side);
    std::vector<std::uint32_t> pixels(std::size_t{length} * length);
    if (depth == depthWithAlpha) return pixels;
    auto* const xcb = connection.xcb();
    const auto image = xcb::await<xcb_get_image_reply>(
        xcb, xcb_get_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<std::int16_t>(x),
                           static_cast<std::int16_t>(y), length, length, ~std::uint32_t{0}));
    // None while the window isn't on the screen.
    if (!image ||
        static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < std::span(pixels).size_bytes()) {
        return pixels;
    }
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), std::span(pixels).size_bytes());
    return pixels;
}

}  // namespace vellumix::x11
