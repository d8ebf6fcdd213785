#include "x11/InputMethodServer.h"

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <xcb-imdkit/encoding.h>
#include <xcb-imdkit/ximproto.h>

#include <cstring>

namespace vellumix::tests {

namespace {

constexpr unsigned evdevOffset = 8;

}  // namespace

InputMethodServer::InputMethodServer(linux_desktop::GLibRunLoop& runLoop)
    : connection(x11::Connection::open(runLoop, error)) {
    xcb_compound_text_init();
    auto* const xcb = connection->xcb();
    const auto window = xcb_generate_id(xcb);
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection->root(), 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    static std::uint32_t style = XCB_IM_PreeditCallbacks | XCB_IM_StatusNothing;
    static char compoundText[] = "COMPOUND_TEXT";
    static xcb_im_encoding_t encoding = compoundText;
    const xcb_im_styles_t styles{1, &style};
    const xcb_im_encodings_t encodings{1, &encoding};
    method.reset(xcb_im_create(xcb, 0, window, "test", XCB_IM_ALL_LOCALES, &styles, nullptr, nullptr,
                               &encodings, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE, handle,
                               this));
    EXPECT_TRUE(xcb_im_open_im(method.get()));
    events = connection->observeEvery([this](const auto& event) {
        if (!isHung) xcb_im_filter_event(method.get(), const_cast<xcb_generic_event_t*>(&event));
    });
}

InputMethodServer::~InputMethodServer() { xcb_im_close_im(method.get()); }

void InputMethodServer::handle(xcb_im_t*, xcb_im_client_t*, xcb_im_input_context_t* context,
                               const xcb_im_packet_header_fr_t* header, void*, void* argument, void* self) {
    auto& server = *static_cast<InputMethodServer*>(self);
    if (header->major_opcode == XCB_XIM_SET_IC_FOCUS) server.isFocused = true;
    if (header->major_opcode == XCB_XIM_UNSET_IC_FOCUS) server.isFocused = false;
    if (header->major_opcode == XCB_XIM_FORWARD_EVENT) {
        server.answer(context, static_cast<xcb_key_press_event_t*>(argument));
    }
}

void InputMethodServer::answer(xcb_im_input_context_t* context, xcb_key_press_event_t* event) {
    const auto position = event->detail - evdevOffset;
    const bool isPress = (event->response_type & 0x7F) == XCB_KEY_PRESS;
    if (isPress) ++keys;
    std::size_t length = 0;
    const auto encoded = [&](const char* text) {
        return std::unique_ptr<char, HandleDeleter<std::free>>(
            xcb_utf8_to_compound_text(text, std::strlen(text), &length));
    };
    if (position == KEY_A && isPress) {
        const auto text = encoded("に");
        xcb_im_preedit_start_callback(method.get(), context);
        xcb_im_preedit_draw_fr_t change{};
        change.caret = 1;
        change.length_of_preedit_string = static_cast<std::uint16_t>(length);
        change.preedit_string = reinterpret_cast<std::uint8_t*>(text.get());
        change.status = 2;
        xcb_im_preedit_draw_callback(method.get(), context, &change);
    } else if (position == KEY_B && isPress) {
        const auto text = encoded("日本");
        xcb_im_preedit_done_callback(method.get(), context);
        xcb_im_commit_string(method.get(), context, XCB_XIM_LOOKUP_CHARS, text.get(),
                             static_cast<std::uint32_t>(length), 0);
    } else if (position != KEY_A && position != KEY_B) {
        xcb_im_forward_event(method.get(), context, event);
    }
}

}  // namespace vellumix::tests
