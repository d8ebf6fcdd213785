#include "platform/x11/keys/InputMethod.h"

#include <xcb-imdkit/encoding.h>

#include <algorithm>
#include <cstring>

#include "platform/foundation/loop/Log.h"
#include "platform/foundation/text/Unicode.h"
#include "platform/x11/server/RootProperties.h"

namespace vellumix::x11 {

namespace {

constexpr double answerSeconds = 1;
constexpr std::size_t mostPendingKeys = 256;
constexpr std::size_t mostMarkedBytes = 4096;

bool isRelease(const xcb_key_press_event_t& event) { return (event.response_type & 0x7F) == XCB_KEY_RELEASE; }

std::uint32_t eventMaskOf(const xcb_key_press_event_t& event) {
    return isRelease(event) ? XCB_EVENT_MASK_KEY_RELEASE : XCB_EVENT_MASK_KEY_PRESS;
}

/// The best of the styles that the server offers and this program can show.
std::uint32_t chosenStyle(const xcb_im_get_im_values_reply_fr_t* reply) {
    constexpr std::uint32_t known[] = {XCB_IM_PreeditCallbacks | XCB_IM_StatusNothing,
                                       XCB_IM_PreeditPosition | XCB_IM_StatusNothing,
                                       XCB_IM_PreeditNothing | XCB_IM_StatusNothing};
    std::vector<std::uint32_t> offered;
    if (reply && reply->im_attribute_returned.size > 0) {
        const auto& value = reply->im_attribute_returned.items[0];
        // A count of 16 bits, two bytes unused, and the styles.
        constexpr std::size_t head = 4;
        for (std::size_t at = head; at + sizeof(std::uint32_t) <= value.value_length;
             at += sizeof(std::uint32_t)) {
            std::memcpy(&offered.emplace_back(), value.value + at, sizeof(std::uint32_t));
        }
    }
    for (const auto style : known) {
        if (std::find(offered.begin(), offered.end(), style) != offered.end()) return style;
    }
    return known[2];
}

/// Where a character of the text begins, in bytes.
std::size_t offsetOf(const std::string& text, std::size_t character) {
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const bool isFollowing = (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
        if (!isFollowing && character-- == 0) break;
    }
    return at;
}

}  // namespace

/// What the library calls. Its user data is the input method.
struct InputMethod::Callbacks {
    static InputMethod& self(void* data) { return *static_cast<InputMethod*>(data); }

    static void opened(xcb_xim_t* method, void* data) {
        xcb_xim_get_im_values(method, stylesRead, data, XCB_XIM_XNQueryInputStyle, nullptr);
    }
    static void stylesRead(xcb_xim_t*, xcb_im_get_im_values_reply_fr_t* reply, void* data) {
        self(data).createContext(chosenStyle(reply));
    }
    static void contextCreated(xcb_xim_t*, xcb_xic_t context, void* data) {
        if (context) self(data).contextCreated(context);
    }
    static void eventsWanted(xcb_xim_t*, xcb_xic_t, std::uint32_t events, std::uint32_t, void* data) {
        self(data).wantedEvents = events;
    }
    static void givenBack(xcb_xim_t*, xcb_xic_t, xcb_key_press_event_t* event, void* data) {
        self(data).givenBack(*event);
    }
    static void committed(xcb_xim_t*, xcb_xic_t, std::uint32_t flags, char* text, std::uint32_t length,
                          std::uint32_t* symbols, std::size_t count, void* data) {
        auto& method = self(data);
        method.commit(flags, text ? method.decoded(text, length) : std::string(), count > 0 ? *symbols : 0);
    }
    static void drawn(xcb_xim_t*, xcb_xic_t, xcb_im_preedit_draw_fr_t* change, void* data) {
        self(data).draw(*change);
    }
    static void done(xcb_xim_t*, xcb_xic_t, void* data) { self(data).clearMarked(); }
    static void heard(xcb_xim_t*, xcb_xic_t, void* data) { self(data).heard(); }
    static void gone(xcb_xim_t*, void* data) { self(data).giveUp(); }
};

InputMethod::InputMethod(Connection& connection, int screen, Handlers handlers)
    : connection(connection), screen(screen), handlers(std::move(handlers)) {
    xcb_compound_text_init();
    events = connection.observeEvery([this](const auto& event) {
        // The library takes an event that may be changed, and changes none.
        if (method) xcb_xim_filter_event(method.get(), const_cast<xcb_generic_event_t*>(&event));
    });
    servers = connection.rootProperties().observe(connection.atoms().inputMethodServers, [this] {
        if (caret && !context) openSoon();
    });
}

InputMethod::~InputMethod() = default;

void InputMethod::setWindow(xcb_window_t window) {
    // The server of the input method knows the window by its number.
    if (std::exchange(this->window, window) != XCB_WINDOW_NONE && caret) openSoon();
}

void InputMethod::open() {
    wantedEvents = XCB_EVENT_MASK_KEY_PRESS;
    method.reset(xcb_xim_create(connection.xcb(), screen, nullptr));
    if (!method) return;
    xcb_xim_im_callback callbacks{};
    callbacks.set_event_mask = Callbacks::eventsWanted;
    callbacks.forward_event = Callbacks::givenBack;
    callbacks.commit_string = Callbacks::committed;
    callbacks.preedit_draw = Callbacks::drawn;
    callbacks.preedit_done = Callbacks::done;
    callbacks.disconnected = Callbacks::gone;
    xcb_xim_set_im_callback(method.get(), &callbacks, this);
    xcb_xim_set_use_compound_text(method.get(), true);
    xcb_xim_set_use_utf8_string(method.get(), true);
    xcb_xim_open(method.get(), Callbacks::opened, false, this);
}

void InputMethod::openSoon() {
    forgetContext();
    connection.runLoop().post(lifetime.weakly([this] {
        if (context) return;
        method.reset();
        if (caret) open();
    }));
}

void InputMethod::forgetContext() {
    context.reset();
    request = Request::none;
    isFocused = isCaretStale = isComposingStale = false;
}

void InputMethod::createContext(std::uint32_t style) {
    this->style = style;
    xcb_point_t spot{};
    const auto attributes = xcb_xim_create_nested_list(method.get(), XCB_XIM_XNSpotLocation, &spot, nullptr);
    xcb_xim_create_ic(method.get(), Callbacks::contextCreated, this, XCB_XIM_XNInputStyle, &this->style,
                      XCB_XIM_XNClientWindow, &window, XCB_XIM_XNFocusWindow, &window,
                      XCB_XIM_XNPreeditAttributes, &attributes, nullptr);
    std::free(attributes.data);
}

void InputMethod::contextCreated(xcb_xic_t context) {
    this->context = context;
    isCaretStale = true;
    goOnSoon();
}

void InputMethod::setCaret(std::optional<xcb_point_t> caret) {
    const auto before = std::exchange(this->caret, caret);
    if (caret && !context) {
        // Whoever doesn't answer may do so by the next time that somebody types.
        if (!before) openSoon();
        return;
    }
    if (caret) {
        if (before && before->x == caret->x && before->y == caret->y) return;
        isCaretStale = true;
    } else {
        if (!before) return;
        const bool isWithServer = request == Request::key;
        pending.resize(isWithServer ? 1 : 0);
        if (isWithServer) pending.front().isAnswered = true;
        marked.clear();
        if (!context) return;
        isComposingStale = true;
    }
    goOnSoon();
}

void InputMethod::goOnSoon() {
    if (std::exchange(goesOn, true)) return;
    connection.runLoop().post(lifetime.weakly([this] {
        goesOn = false;
        goOn();
    }));
}

void InputMethod::goOn() {
    if (!context || request != Request::none) return;
    if (std::exchange(isComposingStale, false)) {
        // The library doesn't tell of the answer.
        xcb_xim_reset_ic(method.get(), *context, nullptr, nullptr);
    }
    if (isFocused != caret.has_value()) {
        isFocused = caret.has_value();
        (isFocused ? xcb_xim_set_ic_focus : xcb_xim_unset_ic_focus)(method.get(), *context);
    }
    if (!caret) return;
    while (request == Request::none && !pending.empty()) forwardNext();
    if (request == Request::none && isCaretStale) {
        begin(Request::caret);
        showCaret();
    }
}

void InputMethod::forwardNext() {
    auto event = pending.front().event;
    event.event = window;
    xcb_xim_forward_event(method.get(), *context, &event);
    if (isRelease(event)) {
        pending.pop_front();
        return;
    }
    // Not every server says that it keeps a key; each answers a request, and in the order of them.
    begin(Request::key);
    showCaret();
}

void InputMethod::begin(Request request) {
    this->request = request;
    deadline = connection.runLoop().oneShotTimer(answerSeconds, [this] {
        const auto timer = std::move(deadline);
        if (this->request == Request::none) return;
        Log("InputMethod").error("The input method doesn't answer: keys are taken as typed");
        giveUp();
    });
}

void InputMethod::heard() {
    deadline.reset();
    if (std::exchange(request, Request::none) == Request::key) pending.pop_front();
    goOnSoon();
}

void InputMethod::showCaret() {
    isCaretStale = false;
    // The window that the keys come to lies just outside of the root's corner.
    const auto at = caret.value_or(xcb_point_t{});
    xcb_point_t spot{static_cast<std::int16_t>(at.x + 1), static_cast<std::int16_t>(at.y + 1)};
    const auto attributes = xcb_xim_create_nested_list(method.get(), XCB_XIM_XNSpotLocation, &spot, nullptr);
    xcb_xim_set_ic_values(method.get(), *context, Callbacks::heard, this, XCB_XIM_XNPreeditAttributes,
                          &attributes, nullptr);
    std::free(attributes.data);
}

bool InputMethod::take(const xcb_key_press_event_t& event) {
    if (!caret || !context || !(wantedEvents & eventMaskOf(event)) || pending.size() >= mostPendingKeys) {
        return false;
    }
    pending.push_back({event});
    goOn();
    // Whoever keeps a release keeps nothing from anybody.
    return !isRelease(event);
}

void InputMethod::givenBack(const xcb_key_press_event_t& event) {
    if (isRelease(event)) return;
    if (request == Request::key && pending.front().event.detail == event.detail)
        pending.front().isAnswered = true;
    if (caret) handlers.typed(event);
}

void InputMethod::commit(std::uint32_t flags, std::string text, std::uint32_t symbol) {
    if (text.empty() && (flags & XCB_XIM_LOOKUP_KEYSYM)) {
        char buffer[8] = {};
        if (xkb_keysym_to_utf8(symbol, buffer, sizeof buffer) > 1) text = buffer;
    }
    if (caret && !text.empty()) handlers.committed(text);
}

void InputMethod::draw(const xcb_im_preedit_draw_fr_t& change) {
    enum Status : std::uint32_t { hasNoString = 1 };
    std::string inserted;
    if (!(change.status & hasNoString)) {
        inserted =
            decoded(reinterpret_cast<const char*>(change.preedit_string), change.length_of_preedit_string);
    }
    if (marked.size() + inserted.size() > mostMarkedBytes) return;
    const auto first = offsetOf(marked, change.chg_first);
    const auto end = offsetOf(marked, std::size_t{change.chg_first} + change.chg_length);
    marked.replace(first, end - first, inserted);
    if (caret) handlers.composed({.text = marked, .caret = offsetOf(marked, change.caret)});
}

void InputMethod::clearMarked() {
    if (marked.empty()) return;
    marked.clear();
    if (caret) handlers.composed({});
}

void InputMethod::giveUp() {
    openSoon();
    const auto alive = lifetime.watch();
    const auto unanswered = std::exchange(pending, {});
    clearMarked();
    for (const auto& key : unanswered) {
        if (alive.expired() || !caret) return;
        if (!key.isAnswered && !isRelease(key.event)) handlers.typed(key.event);
    }
}

std::string InputMethod::decoded(const char* text, std::size_t length) const {
    std::string utf8;
    if (xcb_xim_get_encoding(method.get()) == XCB_XIM_UTF8_STRING) {
        utf8.assign(text, length);
    } else {
        std::size_t converted = 0;
        const std::unique_ptr<char, HandleDeleter<std::free>> memory(
            xcb_compound_text_to_utf8(text, length, &converted));
        if (memory) utf8.assign(memory.get(), converted);
    }
    return isValidUTF8(utf8) ? utf8 : std::string();
}

}  // namespace vellumix::x11
