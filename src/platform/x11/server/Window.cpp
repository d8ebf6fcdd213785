#include "platform/x11/server/Window.h"

namespace vellumix::x11 {

Window::Window(Connection& connection) : connection(connection), id_(xcb_generate_id(connection.xcb())) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_create_window(connection.xcb(), XCB_COPY_FROM_PARENT, id_, connection.root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
}

Window::~Window() { xcb_destroy_window(connection.xcb(), id_); }

}  // namespace vellumix::x11
