#pragma once

#include <deque>
#include <optional>
#include <string>

#include "platform/desktop/Event.h"
#include "platform/x11/keys/KeyboardHandles.h"
#include "platform/x11/server/Connection.h"

namespace vellumix::x11 {

/// The input method of the display's user (X Input Method Protocol 1.0), through which keys go while text is
/// being typed. A server that is absent, hangs or goes costs nothing but its help: keys that it keeps for
/// more than a second, without a sign of life, are handled as typed. Main thread.
class InputMethod {
public:
    struct Handlers {
        /// A press or release that the input method has no use for.
        std::function<void(const xcb_key_press_event_t&)> typed;
        /// Text that is finished; valid UTF-8.
        std::function<void(const std::string&)> committed;
        std::function<void(const MarkedText&)> composed;
    };

    InputMethod(Connection& connection, int screen, Handlers handlers);
    ~InputMethod();
    InputMethod(const InputMethod&) = delete;
    InputMethod& operator=(const InputMethod&) = delete;

    /// The window that all keys are said to come to; set before anything else, and whenever it is another.
    void setWindow(xcb_window_t window);
    /// Where text is being typed, in pixels of the root; nothing while it isn't. What was being composed is
    /// dropped then, and keys that are still under way are forgotten.
    void setCaret(std::optional<xcb_point_t> caret);
    /// Hands a press or release to the input method. False where there is none; then it is handled as typed.
    bool take(const xcb_key_press_event_t& event);

private:
    struct Callbacks;
    struct PendingKey {
        xcb_key_press_event_t event;
        /// The server has given it back, or nobody wants it any more.
        bool isAnswered = false;
    };

    void open();
    /// Anew and later, as the library may be in the middle of a call.
    void openSoon();
    void createContext(std::uint32_t style);
    void contextCreated(xcb_xic_t context);
    void givenBack(const xcb_key_press_event_t& event);
    void commit(std::uint32_t flags, std::string text, std::uint32_t symbol);
    void draw(const xcb_im_preedit_draw_fr_t& change);
    void clearMarked();
    /// What is to be told to the server, in order. One request at a time: the library sends what was asked
    /// for behind another only when somebody asks for more, and so what comes of keys has the order of the
    /// keys.
    void goOn();
    /// Once the library has finished with the message that it is in.
    void goOnSoon();
    void forwardNext();
    void showCaret();
    /// A request that the server will answer, or be given up for.
    enum class Request { none, caret, key };
    void begin(Request request);
    void heard();
    void forgetContext();
    void giveUp();
    std::string decoded(const char* text, std::size_t length) const;

    Connection& connection;
    int screen;
    xcb_window_t window = XCB_WINDOW_NONE;
    Handlers handlers;
    xim::InputMethod method;
    std::optional<xcb_xic_t> context;
    std::uint32_t style = 0;
    std::uint32_t wantedEvents = 0;
    std::optional<xcb_point_t> caret;
    bool isFocused = false;
    /// The server doesn't know yet where the caret is, or that what was composed is dropped.
    bool isCaretStale = false;
    bool isComposingStale = false;
    bool goesOn = false;
    std::string marked;
    /// The first is with the server while the request is for a key.
    std::deque<PendingKey> pending;
    Request request = Request::none;
    std::unique_ptr<NSTimer> deadline;
    Observation events;
    Observation servers;
    Lifetime lifetime;
};

}  // namespace vellumix::x11
