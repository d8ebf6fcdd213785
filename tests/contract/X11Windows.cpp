#include "contract/WindowBackend.h"
#include "platform/x11/windows/WindowServer.h"
#include "x11/DisplayRig.h"
#include "x11/Person.h"

namespace vellumix::tests {

namespace {

class X11Windows final : public WindowBackend {
public:
    X11Windows() {
        if (!rig.connection) return;
        windows_ = std::make_unique<x11::WindowServer>(*rig.connection, *rig.windowManager, *rig.keyboard);
        person = std::make_unique<Person>();
        settle();
    }

    std::string trouble() const override { return rig.trouble; }
    WindowServer& windows() override { return *windows_; }
    void typeKey(unsigned position) override { person->typeKey(position); }
    void click(Point at) override {
        person->moveTo(at);
        person->click();
    }
    bool wait(const std::function<bool()>& condition) override { return rig.wait(condition); }
    void settle() override { rig.settle(); }

private:
    DisplayRig rig;
    std::unique_ptr<x11::WindowServer> windows_;
    std::unique_ptr<Person> person;
};

}  // namespace

std::unique_ptr<WindowBackend> makeX11Windows() { return std::make_unique<X11Windows>(); }

}  // namespace vellumix::tests
