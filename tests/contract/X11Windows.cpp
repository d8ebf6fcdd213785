#include "contract/WindowBackend.h"
#include "platform/x11/windows/WindowServer.h"
#include "x11/Peer.h"
#include "x11/Person.h"
#include "x11/PrivateDisplay.h"

namespace vellumix::tests {

namespace {

class X11Windows final : public WindowBackend {
public:
    X11Windows() : _connection(x11::Connection::open(_runLoop, _trouble)) {
        if (!_connection) return;
        _windows = std::make_unique<x11::WindowServer>(*_connection);
        _person = std::make_unique<Person>();
        settle();
    }

    std::string trouble() const override { return _trouble; }
    WindowServer& windows() override { return *_windows; }
    void typeKey(unsigned position) override { _person->typeKey(position); }
    void click(Point at) override {
        _person->moveTo(at);
        _person->click();
    }
    bool wait(const std::function<bool()>& condition) override { return waitUntil(_runLoop, condition); }
    void settle() override {
        for (int turn = 0; turn < 8; ++turn) {
            x11::xcb::await<xcb_get_input_focus_reply>(_connection->xcb(),
                                                       xcb_get_input_focus(_connection->xcb()));
            bool isDone = false;
            _runLoop.post([&] { isDone = true; });
            _runLoop.runUntil([&] { return isDone; });
        }
    }

private:
    PrivateDisplay _display;
    linux_desktop::GLibRunLoop _runLoop;
    std::string _trouble;
    std::unique_ptr<x11::Connection> _connection;
    std::unique_ptr<x11::WindowServer> _windows;
    std::unique_ptr<Person> _person;
};

}  // namespace

std::unique_ptr<WindowBackend> makeX11Windows() { return std::make_unique<X11Windows>(); }

}  // namespace vellumix::tests
