#pragma once

#include <functional>
#include <limits>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/x11/server/XcbHandles.h"

namespace vellumix::tests {

/// Serves the loop until the condition holds; false when it doesn't within `seconds`.
bool waitUntil(RunLoop& runLoop, const std::function<bool()>& condition, double seconds = 5);

/// Another program on the display, with good manners or bad ones. Lives on the same loop, on a connection of
/// its own.
class Peer {
public:
    enum class Manner {
        /// In one property.
        whole,
        /// In pieces.
        incremental,
        /// In one property, put together by so many appends.
        appended,
        refuses,
        /// Never answers.
        silent,
        /// Says yes and leaves the property away.
        empty,
    };
    enum class AtStop {
        /// Ends the value as it should be ended.
        finishes,
        /// Does nothing more.
        hangs,
        /// Ends its connection.
        dies,
    };

    /// What this program answers to one target.
    struct Answer {
        std::string target;
        std::string bytes;
        /// The target's name when empty.
        std::string type = {};
        std::uint8_t format = 8;
        Manner manner = Manner::whole;
        /// The size that an incremental value announces.
        std::uint32_t announced = 0;
        std::size_t pieceBytes = 60'000;
        /// So many bytes are sent; beyond the end of `bytes` they begin again.
        std::optional<std::size_t> sent = {};
        AtStop atStop = AtStop::finishes;
        /// Runs when the target is asked for.
        std::function<void()> meanwhile = {};
        /// So many times it is refused first.
        int refusals = 0;
    };

    /// Something asked for; `isDone` and absent when it was refused.
    struct Received {
        bool isDone = false;
        std::optional<std::string> bytes;
        std::string type;
    };

    explicit Peer(linux_desktop::GLibRunLoop& runLoop);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Takes the clipboard and answers so. TARGETS is answered with the names, unless an answer says
    /// otherwise.
    void copy(std::vector<Answer> answers);
    void copyText(const std::string& text) { copy({{.target = "UTF8_STRING", .bytes = text}}); }
    /// Takes another selection, to do nothing with it.
    void take(const std::string& selection);
    /// Gives the clipboard up on purpose.
    void clear();
    /// Destroys the window that owns the clipboard, and stays connected.
    void destroyWindow();
    /// Ends the connection without a word.
    void die();
    /// Returns when the server has done all that this program has asked for.
    void synchronize();
    /// The window that has the clipboard; 0 when none has.
    std::uint32_t clipboardOwner();
    /// Returns when the server's clock, which counts milliseconds, has moved on.
    void waitForNextServerTime();
    bool isOwner() const { return isOwner_; }
    /// Targets that were asked for, in order.
    const std::vector<std::string>& asked() const { return asked_; }
    /// Errors that the server sent: naive programs end at the first.
    int errors() const { return errors_; }

    /// Asks for a target of a selection and waits for the whole value. Nothing when it is refused.
    std::optional<std::string> paste(const std::string& target, const std::string& selection = "CLIPBOARD");
    /// The type of the last value.
    const std::string& pastedType() const { return pastedType_; }
    /// The names that TARGETS lists.
    std::vector<std::string> pasteTargets();
    /// The places of a MULTIPLE request for these targets: whether each was served.
    std::vector<bool> pasteMultiple(const std::vector<std::string>& targets);
    /// Asks and never takes anything; returns when the answer has come. False when it was refused.
    bool pasteAndHang(const std::string& target);
    /// Asks so many times for all of these targets by MULTIPLE, and waits for none of it.
    void flood(int requests, const std::vector<std::string>& targets);
    /// How many requests were answered with a value.
    int answers() const { return answered; }
    /// Asks, and doesn't wait.
    std::shared_ptr<Received> beginPaste(const std::string& target,
                                         const std::string& selection = "CLIPBOARD");

    /// The children of the root that other programs have made.
    std::vector<std::uint32_t> windowsOfOthers();
    /// Sends an event of 32 bytes to the window's own program, as the server would. Any event of xcb.
    template <class Event>
    void forge(std::uint32_t window, const Event& event) {
        union {
            Event event;
            char bytes[32];
        } sent{};
        sent.event = event;
        send(window, sent.bytes);
    }
    xcb_connection_t* xcb() const { return xcb_.get(); }

    bool hasRootProperty(const std::string& property);
    void setRootWindow(const std::string& property, std::uint32_t window);
    /// Says that a window manager runs, as this program does until it dies.
    void tellsWindows();
    /// A window with these properties, as an application would have it.
    std::uint32_t makeWindow(const std::map<std::string, std::string>& texts, std::uint32_t process);

private:
    struct Sending;
    struct Receiving;

    xcb_atom_t atom(const std::string& name);
    std::string name(xcb_atom_t atom);
    void send(xcb_window_t window, const char* event);
    xcb_window_t newWindow();
    void askForPairs(xcb_window_t window, const std::vector<std::string>& targets);
    bool prepare();
    void dispatch();
    void handle(const xcb_generic_event_t& event);
    void serve(const xcb_selection_request_event_t& request);
    void answer(const xcb_selection_request_event_t& request, bool isServed);
    void sendPiece(Sending& sending);
    void receive(Receiving& receiving);
    xcb_timestamp_t serverTime();
    std::string takeProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t& type);

    linux_desktop::GLibRunLoop& runLoop;
    x11::xcb::ConnectionHandle xcb_;
    x11::xcb::Event readAhead;
    xcb_window_t root = 0;
    xcb_window_t window = 0;
    std::map<std::string, xcb_atom_t> atoms;
    std::vector<Answer> answers_;
    bool isOwner_ = false;
    std::optional<xcb_timestamp_t> serverTime_;
    int errors_ = 0;
    int answered = 0;
    std::vector<std::string> asked_;
    std::string pastedType_;
    std::list<Sending> sendings;
    std::list<Receiving> receivings;
    Observation watch;
};

}  // namespace vellumix::tests
