#include "platform/x11/windows/Screens.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/x11/server/RootProperties.h"

namespace vellumix::x11 {

namespace {

constexpr double usualDotsPerInch = 96;
constexpr double denseDotsPerInch = 192;
constexpr double millimetresPerInch = 25.4;
constexpr double scaleStep = 0.25;
constexpr double largestScale = 4;
constexpr std::uint32_t mostClients = 1024;

double area(const Rect& rect) { return rect.size.width * rect.size.height; }

/// What is left of the monitor's usable part; a strut that would leave nothing belongs to another monitor.
void cut(Rect& usable, double left, double top, double right, double bottom) {
    const double minX = std::max(usable.minX(), left);
    const double minY = std::max(usable.minY(), top);
    const Rect rest{{minX, minY},
                    {std::min(usable.maxX(), right) - minX, std::min(usable.maxY(), bottom) - minY}};
    if (!rest.isEmpty()) usable = rest;
}

void divide(Rect& rect, double by) {
    rect = {{rect.minX() / by, rect.minY() / by}, {rect.size.width / by, rect.size.height / by}};
}

}  // namespace

struct Screens::Monitors {
    std::vector<NSScreen> screens;
    double primaryDotsPerInch = 0;
};

Screens::Screens(Connection& connection, const xcb_screen_t& screen, SettingsReader& settings)
    : connection(connection), screen(screen), settings(settings) {
    auto* const xcb = connection.xcb();
    const auto* randr = xcb_get_extension_data(xcb, &xcb_randr_id);
    if (randr && randr->present) {
        const auto version =
            xcb::await<xcb_randr_query_version_reply>(xcb, xcb_randr_query_version(xcb, 1, 5));
        hasMonitors = version && (version->major_version > 1 || version->minor_version >= 5);
        randrFirstEvent = randr->first_event;
        xcb_randr_select_input(xcb, connection.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        randrEvents = connection.observeExtensions([this](const auto& event) {
            const auto kind = xcb::typeOf(event);
            if (kind == randrFirstEvent || kind == randrFirstEvent + XCB_RANDR_NOTIFY) readLater();
        });
    }
    rootEvents = connection.observeForeign(connection.root(), [this](const auto& event) {
        if (xcb::typeOf(event) == XCB_CONFIGURE_NOTIFY) readLater();
    });
    auto& properties = connection.rootProperties();
    workAreaChanges = properties.observe(connection.atoms().workArea, [this] { readLater(); });
    clientChanges = properties.observe(connection.atoms().clientList, [this] {
        if (all_.size() > 1) readLater();
    });
    settingEvents = settings.observe([this] { readLater(); });
    read();
}

void Screens::readLater() {
    // One change of a monitor comes as a row of events.
    if (std::exchange(isReading, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        isReading = false;
        const auto before = all_;
        const auto scale = scale_;
        read();
        if (before != all_ || scale != scale_) observers.notify();
    }));
}

void Screens::read() {
    auto monitors = readMonitors();
    scale_ = readScale(monitors.primaryDotsPerInch);
    if (monitors.screens.size() == 1) {
        cutByWorkArea(monitors.screens);
    } else {
        // The work area is one rectangle for all monitors together.
        cutByStruts(monitors.screens);
    }
    for (auto& screen : monitors.screens) {
        divide(screen.frame, scale_);
        divide(screen.visibleFrame, scale_);
    }
    all_ = std::move(monitors.screens);
}

Screens::Monitors Screens::readMonitors() {
    Monitors monitors;
    auto* const xcb = connection.xcb();
    const auto reply = hasMonitors ? xcb::await<xcb_randr_get_monitors_reply>(
                                         xcb, xcb_randr_get_monitors(xcb, connection.root(), 1))
                                   : nullptr;
    if (reply) {
        for (auto at = xcb_randr_get_monitors_monitors_iterator(reply.get()); at.rem > 0;
             xcb_randr_monitor_info_next(&at)) {
            const auto& one = *at.data;
            const Rect frame{{double(one.x), double(one.y)}, {double(one.width), double(one.height)}};
            if (frame.isEmpty()) continue;
            const bool isFirst = one.primary || monitors.screens.empty();
            if (isFirst && one.width_in_millimeters > 0) {
                monitors.primaryDotsPerInch = one.width * millimetresPerInch / one.width_in_millimeters;
            }
            monitors.screens.insert(isFirst ? monitors.screens.begin() : monitors.screens.end(),
                                    NSScreen{frame, frame});
        }
    }
    if (monitors.screens.empty()) {
        const auto root = xcb::await<xcb_get_geometry_reply>(xcb, xcb_get_geometry(xcb, connection.root()));
        const Rect frame{{0, 0},
                         {double(root ? root->width : screen.width_in_pixels),
                          double(root ? root->height : screen.height_in_pixels)}};
        monitors.screens.push_back({frame, frame});
    }
    return monitors;
}

double Screens::readScale(double primaryDotsPerInch) const {
    const auto& settings = this->settings.settings();
    double scale = 1;
    if (settings.dotsPerInch) {
        scale = *settings.dotsPerInch / usualDotsPerInch;
    } else if (settings.scalingFactor) {
        scale = *settings.scalingFactor;
    } else if (primaryDotsPerInch >= denseDotsPerInch) {
        scale = 2;
    }
    return std::clamp(std::round(scale / scaleStep) * scaleStep, 1.0, largestScale);
}

void Screens::cutByWorkArea(std::vector<NSScreen>& screens) const {
    const auto& atoms = connection.atoms();
    constexpr std::uint32_t mostDesktops = 64;
    const auto areas = connection.numbers(connection.root(), atoms.workArea, mostDesktops * 4);
    const auto desktop = connection.numbers(connection.root(), atoms.currentDesktop, 1);
    const std::size_t wanted = desktop.empty() ? 0 : std::size_t{desktop[0]} * 4;
    const std::size_t first = wanted + 4 <= areas.size() ? wanted : 0;
    if (areas.size() < 4) return;
    const double left = areas[first];
    const double top = areas[first + 1];
    cut(screens[0].visibleFrame, left, top, left + areas[first + 2], top + areas[first + 3]);
}

void Screens::cutByStruts(std::vector<NSScreen>& screens) const {
    // In the order of the property: left, right, top, bottom, then where each begins and ends.
    constexpr std::uint32_t length = 12;
    const auto& atoms = connection.atoms();
    double width = 0;
    double height = 0;
    for (const auto& screen : screens) {
        width = std::max(width, screen.frame.maxX());
        height = std::max(height, screen.frame.maxY());
    }
    for (const auto client : connection.numbers(connection.root(), atoms.clientList, mostClients)) {
        const auto strut = connection.numbers(client, atoms.strutPartial, length);
        if (strut.size() < length) continue;
        const auto crosses = [](double from, double to, double begin, double end) {
            return from < end && to >= begin;
        };
        for (auto& screen : screens) {
            const auto& frame = screen.frame;
            const bool left = strut[0] && crosses(strut[4], strut[5], frame.minY(), frame.maxY());
            const bool right = strut[1] && crosses(strut[6], strut[7], frame.minY(), frame.maxY());
            const bool top = strut[2] && crosses(strut[8], strut[9], frame.minX(), frame.maxX());
            const bool bottom = strut[3] && crosses(strut[10], strut[11], frame.minX(), frame.maxX());
            cut(screen.visibleFrame, left ? strut[0] : 0, top ? strut[2] : 0,
                right ? width - strut[1] : unbounded, bottom ? height - strut[3] : unbounded);
        }
    }
}

std::optional<NSScreen> Screens::mostOf(const Rect& frame) const {
    const auto most = std::ranges::max_element(
        all_, {}, [&](const NSScreen& screen) { return area(screen.frame.intersection(frame)); });
    return most == all_.end() ? std::nullopt : std::optional(*most);
}

std::optional<NSScreen> Screens::at(Point point) const {
    const auto found =
        std::ranges::find_if(all_, [&](const NSScreen& screen) { return screen.frame.contains(point); });
    return found == all_.end() ? std::nullopt : std::optional(*found);
}

}  // namespace vellumix::x11
