#include "platform/x11/windows/Pointer.h"

#include <xcb/xinput.h>

#include <cmath>

#include "platform/foundation/loop/Log.h"
#include "platform/x11/keys/Keyboard.h"

namespace vellumix::x11 {

namespace {

constexpr double pointsAClick = 40;
constexpr xcb_timestamp_t clickMilliseconds = 400;
constexpr double clickDistance = 4;

double fromFixed(xcb_input_fp1616_t value) { return value / 65536.0; }
double fromFixed(xcb_input_fp3232_t value) { return value.integral + value.frac / 4294967296.0; }

Point pointOf(const xcb_input_button_press_event_t& event, double scale) {
    return {fromFixed(event.event_x) / scale, fromFixed(event.event_y) / scale};
}

std::optional<PointerButton> buttonOf(std::uint32_t number) {
    switch (number) {
        case 1:
            return PointerButton::primary;
        case 2:
            return PointerButton::middle;
        case 3:
            return PointerButton::secondary;
        default:
            return std::nullopt;
    }
}

}  // namespace

Pointer::Pointer(Connection& connection, Surroundings surroundings)
    : connection(connection), surroundings(std::move(surroundings)) {
    auto* const xcb = connection.xcb();
    const auto* extension = xcb_get_extension_data(xcb, &xcb_input_id);
    const auto version = extension && extension->present ? xcb::await<xcb_input_xi_query_version_reply>(
                                                               xcb, xcb_input_xi_query_version(xcb, 2, 2))
                                                         : nullptr;
    isPresent = version && version->major_version >= 2;
    if (!isPresent) {
        Log("Pointer").error("The X server has no XInput 2 extension: the pointer can't be followed");
        return;
    }
    opcode = extension->major_opcode;
    events = connection.observeExtensions([this](const auto& event) {
        if (xcb::typeOf(event) == XCB_GE_GENERIC &&
            xcb::as<xcb_ge_generic_event_t>(event).extension == opcode) {
            handle(event);
        }
    });
}

void Pointer::selectEvents(xcb_window_t window, std::uint32_t events) {
    if (!isPresent) return;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } const wanted{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, events};
    xcb_input_xi_select_events(connection.xcb(), window, 1, &wanted.head);
}

void Pointer::select(xcb_window_t window) {
    selectEvents(window, XCB_INPUT_XI_EVENT_MASK_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_BUTTON_RELEASE |
                             XCB_INPUT_XI_EVENT_MASK_MOTION | XCB_INPUT_XI_EVENT_MASK_ENTER |
                             XCB_INPUT_XI_EVENT_MASK_LEAVE);
}

Observation Pointer::observePressElsewhere(std::function<void()> handler) {
    return observeRaw(elsewhere, std::move(handler));
}

Observation Pointer::observeRelease(std::function<void()> handler) {
    return observeRaw(releases, std::move(handler));
}

Observation Pointer::observeRaw(ObserverList<>& observers, std::function<void()> handler) {
    if (!isPresent) return {};
    auto inner = std::make_shared<Observation>(observers.add(std::move(handler)));
    selectRaw();
    return Observation(lifetime.weakly([this, inner] {
        inner->cancel();
        selectRaw();
    }));
}

void Pointer::selectRaw() {
    const std::uint32_t presses = elsewhere.empty() ? 0 : XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS;
    const std::uint32_t releases = this->releases.empty() ? 0 : XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    if (std::exchange(rawEvents, presses | releases) != rawEvents) {
        selectEvents(connection.root(), rawEvents);
    }
}

Point Pointer::location() const {
    auto* const xcb = connection.xcb();
    const auto reply = xcb::await<xcb_query_pointer_reply>(xcb, xcb_query_pointer(xcb, connection.root()));
    return reply ? Point{double(reply->root_x), double(reply->root_y)} : Point();
}

void Pointer::handle(const xcb_generic_event_t& event) {
    switch (xcb::as<xcb_ge_generic_event_t>(event).event_type) {
        case XCB_INPUT_BUTTON_PRESS:
            pressed(event, false);
            break;
        case XCB_INPUT_BUTTON_RELEASE:
            pressed(event, true);
            break;
        case XCB_INPUT_MOTION:
            moved(event);
            break;
        case XCB_INPUT_RAW_BUTTON_PRESS:
            clickedSomewhere(event, false);
            break;
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            clickedSomewhere(event, true);
            break;
        case XCB_INPUT_ENTER: {
            const auto& enter = xcb::as<xcb_input_enter_event_t>(event);
            // Any wheel may have turned over another window meanwhile, and the source that this event names
            // can be the pointer that stands for all of them.
            readAxes();
            const Point at{fromFixed(enter.event_x), fromFixed(enter.event_y)};
            const double scale = surroundings.scale();
            if (auto* told = surroundings.delegateOf(enter.event)) {
                told->pointerMoved({at.x / scale, at.y / scale});
            }
            break;
        }
        case XCB_INPUT_LEAVE: {
            const auto& leave = xcb::as<xcb_input_leave_event_t>(event);
            const bool isGrab =
                leave.mode == XCB_INPUT_NOTIFY_MODE_GRAB || leave.mode == XCB_INPUT_NOTIFY_MODE_PASSIVE_GRAB;
            if (isGrab || leave.detail == XCB_INPUT_NOTIFY_DETAIL_INFERIOR) break;
            if (auto* told = surroundings.delegateOf(leave.event)) told->pointerLeft();
            break;
        }
        default:
            break;
    }
}

void Pointer::pressed(const xcb_generic_event_t& event, bool isRelease) {
    const auto& press = xcb::as<xcb_input_button_press_event_t>(event);
    connection.userActed(press.time);
    auto* const told = surroundings.delegateOf(press.event);
    if (!told) return;
    const auto at = pointOf(press, surroundings.scale());
    if (const auto button = buttonOf(press.detail)) {
        if (isRelease) {
            told->pointerReleased(at, *button);
            return;
        }
        const int count = countClick({press.event, *button, at, press.time, 1});
        told->pointerPressed({.at = at,
                              .button = *button,
                              .modifiers = Keyboard::modifiersOf(press.mods.effective),
                              .clickCount = count});
        return;
    }
    // What a device with scroll valuators says comes as motion as well.
    if (isRelease || (press.flags & XCB_INPUT_POINTER_EVENT_FLAGS_POINTER_EMULATED)) return;
    switch (press.detail) {
        case 4:
            told->scrolled(at, -pointsAClick, 0);
            break;
        case 5:
            told->scrolled(at, pointsAClick, 0);
            break;
        case 6:
            told->scrolled(at, 0, -pointsAClick);
            break;
        case 7:
            told->scrolled(at, 0, pointsAClick);
            break;
        default:
            break;
    }
}

int Pointer::countClick(const Click& press) {
    const auto& last = lastClick;
    const bool continues = last.window == press.window && last.button == press.button &&
                           press.time - last.time <= clickMilliseconds &&
                           std::hypot(press.at.x - last.at.x, press.at.y - last.at.y) <= clickDistance;
    const int count = continues ? last.count + 1 : 1;
    lastClick = press;
    lastClick.count = count;
    return count;
}

void Pointer::moved(const xcb_generic_event_t& event) {
    const auto& motion = xcb::as<xcb_input_motion_event_t>(event);
    auto* const told = surroundings.delegateOf(motion.event);
    if (!told) return;
    if (this->axes.find(motion.sourceid) == this->axes.end()) readAxes();
    auto& axes = this->axes[motion.sourceid];

    const auto* const mask = xcb_input_button_press_valuator_mask(&motion);
    const auto* const values = xcb_input_button_press_axisvalues(&motion);
    const int count = xcb_input_button_press_axisvalues_length(&motion);
    double down = 0;
    double right = 0;
    bool hasScrolled = false;
    for (auto& axis : axes) {
        if (axis.number / 32 >= motion.valuators_len ||
            !(mask[axis.number / 32] >> (axis.number % 32) & 1U)) {
            continue;
        }
        // The values are those of the set bits alone.
        int place = 0;
        for (unsigned bit = 0; bit < axis.number; ++bit)
            place += static_cast<int>(mask[bit / 32] >> (bit % 32) & 1U);
        if (place >= count) continue;
        const double value = fromFixed(values[place]);
        const double points = (value - axis.value) / axis.increment * pointsAClick;
        axis.value = value;
        (axis.isVertical ? down : right) += points;
        hasScrolled = true;
    }
    const auto at = pointOf(motion, surroundings.scale());
    if (!hasScrolled) {
        told->pointerMoved(at);
    } else if (down != 0 || right != 0) {
        told->scrolled(at, down, right);
    }
}

void Pointer::readAxes() {
    axes.clear();
    auto* const xcb = connection.xcb();
    const auto reply = xcb::await<xcb_input_xi_query_device_reply>(
        xcb, xcb_input_xi_query_device(xcb, XCB_INPUT_DEVICE_ALL));
    if (!reply) return;
    for (auto at = xcb_input_xi_query_device_infos_iterator(reply.get()); at.rem > 0;
         xcb_input_xi_device_info_next(&at)) {
        axes[at.data->deviceid] = axesOf(*at.data);
    }
}

std::vector<Pointer::ScrollAxis> Pointer::axesOf(const xcb_input_xi_device_info_t& device) {
    std::vector<ScrollAxis> axes;
    for (auto at = xcb_input_xi_device_info_classes_iterator(&device); at.rem > 0;
         xcb_input_device_class_next(&at)) {
        if (at.data->type != XCB_INPUT_DEVICE_CLASS_TYPE_SCROLL) continue;
        const auto& scroll = *reinterpret_cast<const xcb_input_scroll_class_t*>(at.data);
        const double increment = fromFixed(scroll.increment);
        if (increment == 0) continue;
        axes.push_back({.number = scroll.number,
                        .isVertical = scroll.scroll_type == XCB_INPUT_SCROLL_TYPE_VERTICAL,
                        .increment = increment});
    }
    for (auto at = xcb_input_xi_device_info_classes_iterator(&device); at.rem > 0;
         xcb_input_device_class_next(&at)) {
        if (at.data->type != XCB_INPUT_DEVICE_CLASS_TYPE_VALUATOR) continue;
        const auto& valuator = *reinterpret_cast<const xcb_input_valuator_class_t*>(at.data);
        for (auto& axis : axes) {
            if (axis.number == valuator.number) axis.value = fromFixed(valuator.value);
        }
    }
    return axes;
}

void Pointer::clickedSomewhere(const xcb_generic_event_t& event, bool isRelease) {
    const auto button = buttonOf(xcb::as<xcb_input_raw_button_press_event_t>(event).detail);
    if (!button || *button == PointerButton::middle) return;
    if (isRelease) return releases.notify();
    auto* const xcb = connection.xcb();
    const auto reply = xcb::await<xcb_query_pointer_reply>(xcb, xcb_query_pointer(xcb, connection.root()));
    if (!reply || surroundings.isOurs(reply->child)) return;
    elsewhere.notify();
}

}  // namespace vellumix::x11
