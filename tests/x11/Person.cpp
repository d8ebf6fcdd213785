#include "x11/Person.h"

#include <xcb/xtest.h>

namespace vellumix::tests {

namespace {

constexpr unsigned evdevOffset = 8;

}  // namespace

Person::Person() : xcb(xcb_connect(nullptr, nullptr)) {
    root = xcb_setup_roots_iterator(xcb_get_setup(xcb.get())).data->root;
}

void Person::synchronize() { focus(); }

xcb_window_t Person::focus() {
    const auto reply = x11::xcb::await<xcb_get_input_focus_reply>(xcb.get(), xcb_get_input_focus(xcb.get()));
    return reply ? reply->focus : xcb_window_t{XCB_WINDOW_NONE};
}

void Person::moveTo(Point at) {
    xcb_test_fake_input(xcb.get(), XCB_MOTION_NOTIFY, 0, 0, root, static_cast<std::int16_t>(at.x),
                        static_cast<std::int16_t>(at.y), 0);
    synchronize();
}

void Person::click(unsigned button) {
    for (const auto kind : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE}) {
        xcb_test_fake_input(xcb.get(), static_cast<std::uint8_t>(kind), static_cast<std::uint8_t>(button), 0,
                            root, 0, 0, 0);
    }
    synchronize();
}

void Person::press(unsigned position) {
    xcb_test_fake_input(xcb.get(), XCB_KEY_PRESS, static_cast<std::uint8_t>(position + evdevOffset), 0, root,
                        0, 0, 0);
    synchronize();
}

void Person::release(unsigned position) {
    xcb_test_fake_input(xcb.get(), XCB_KEY_RELEASE, static_cast<std::uint8_t>(position + evdevOffset), 0,
                        root, 0, 0, 0);
    synchronize();
}

std::uint32_t Person::colourAt(Point at) {
    const auto reply = x11::xcb::await<xcb_get_image_reply>(
        xcb.get(), xcb_get_image(xcb.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, root, static_cast<std::int16_t>(at.x),
                                 static_cast<std::int16_t>(at.y), 1, 1, ~0U));
    if (!reply || xcb_get_image_data_length(reply.get()) < 4) return 0;
    const auto* data = xcb_get_image_data(reply.get());
    return std::uint32_t{data[2]} << 16 | std::uint32_t{data[1]} << 8 | data[0];
}

void Person::setRootText(xcb_atom_t property, const std::string& text) {
    xcb_change_property(xcb.get(), XCB_PROP_MODE_REPLACE, root, property, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    synchronize();
}

}  // namespace vellumix::tests
