#pragma once

#include <deque>
#include <optional>
#include <string>

#include "platform/desktop/Event.h"
#include "platform/x11/Connection.h"
#include "platform/x11/KeyboardHandles.h"

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

    /// The window is the one that all keys are said to come to.
    InputMethod(Connection& connection, int screen, xcb_window_t window, Handlers handlers);
    ~InputMethod();
    InputMethod(const InputMethod&) = delete;
    InputMethod& operator=(const InputMethod&) = delete;

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
    void showCaret(xcb_xim_set_ic_values_callback shown = nullptr);
    void givenBack(const xcb_key_press_event_t& event);
    void commit(std::uint32_t flags, std::string text, std::uint32_t symbol);
    void draw(const xcb_im_preedit_draw_fr_t& change);
    void clearMarked();
    /// One press at a time, so that the order of what comes of them is that of the keys.
    void forwardNext();
    void giveUp();
    std::string decoded(const char* text, std::size_t length) const;

    Connection& _connection;
    int _screen;
    xcb_window_t _window;
    Handlers _handlers;
    xim::InputMethod _method;
    std::optional<xcb_xic_t> _context;
    std::uint32_t _style = 0;
    std::uint32_t _wantedEvents = 0;
    std::optional<xcb_point_t> _caret;
    std::string _marked;
    /// The first is with the server while it waits.
    std::deque<PendingKey> _pending;
    bool _isWaiting = false;
    std::unique_ptr<NSTimer> _deadline;
    Observation _events;
    std::optional<Observation> _servers;
    Lifetime _lifetime;
};

}  // namespace vellumix::x11
