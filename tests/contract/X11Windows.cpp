#include "contract/WindowBackend.h"
#include "platform/x11/windows/WindowServer.h"
#include "x11/DisplayRig.h"
#include "x11/Person.h"

namespace vellumix::tests {

namespace {

class X11Windows final : public WindowBackend {
public:
    X11Windows() {
        if (!_rig.connection) return;
        _windows = std::make_unique<x11::WindowServer>(*_rig.connection, *_rig.windowManager, *_rig.keyboard);
        _person = std::make_unique<Person>();
        settle();
    }

    std::string trouble() const override { return _rig.trouble; }
    WindowServer& windows() override { return *_windows; }
    void typeKey(unsigned position) override { _person->typeKey(position); }
    void click(Point at) override {
        _person->moveTo(at);
        _person->click();
    }
    bool wait(const std::function<bool()>& condition) override { return _rig.wait(condition); }
    void settle() override { _rig.settle(); }

private:
    DisplayRig _rig;
    std::unique_ptr<x11::WindowServer> _windows;
    std::unique_ptr<Person> _person;
};

}  // namespace

std::unique_ptr<WindowBackend> makeX11Windows() { return std::make_unique<X11Windows>(); }

}  // namespace vellumix::tests
