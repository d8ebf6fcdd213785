// Text that comes through an input method, and the keys when that fails.

#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include "platform/x11/windows/WindowServer.h"
#include "support/WindowLog.h"
#include "x11/DisplayRig.h"
#include "x11/InputMethodServer.h"
#include "x11/Person.h"

#ifdef VELLUMIX_ADDRESS_SANITIZER
extern "C" const char* __lsan_default_suppressions();
/// libxcb-imdkit 1.0 keeps each key that it forwarded to a server for good, 80 bytes.
extern "C" const char* __lsan_default_suppressions() { return "leak:xcb_xim_forward_event\n"; }
#endif

namespace vellumix::tests {

class InputMethodTest : public testing::Test, protected DisplayRig {
protected:
    InputMethodTest() { setenv("XMODIFIERS", "@im=test", 1); }
    ~InputMethodTest() override { unsetenv("XMODIFIERS"); }
    void SetUp() override { ASSERT_TRUE(connection) << trouble; }

    static std::string typed(const WindowLog& log) {
        std::string text;
        for (const auto& key : log.keys) text += key.text;
        return text;
    }

    Person person;
};

TEST_F(InputMethodTest, ComposesWhileTextIsTypedAndItsEndCostsNoKey) {
    auto method = std::make_unique<InputMethodServer>(runLoop);
    x11::WindowServer server(*connection, *windowManager, *keyboard);
    const auto panel = server.makeWindow({.kind = NSWindow::Kind::panel, .frame = {{100, 100}, {200, 150}}});
    WindowLog log(*panel);
    panel->orderFrontRegardless();
    panel->makeKeyWindow();
    ASSERT_TRUE(wait([&] { return log.keyStates == "+"; }));
    person.typeKey(KEY_A);
    ASSERT_TRUE(wait([&] { return typed(log) == "a"; })) << "a command, which no input method sees";

    panel->setTextInput(Rect{{10, 10}, {1, 16}});
    ASSERT_TRUE(wait([&] { return method->isFocused; }));
    person.typeKey(KEY_A);
    ASSERT_TRUE(wait([&] { return log.marked == MarkedText{"に", 3}; }));
    person.typeKey(KEY_B);
    person.typeKey(KEY_C);
    person.typeKey(KEY_D);
    ASSERT_TRUE(wait([&] { return typed(log) == "a日本cd"; })) << typed(log);
    EXPECT_EQ(log.marked, MarkedText());
    EXPECT_EQ(method->keys, 4);

    method->isHung = true;
    person.typeKey(KEY_E);
    person.typeKey(KEY_F);
    ASSERT_TRUE(wait([&] { return typed(log) == "a日本cdef"; }, 3)) << typed(log);
    method.reset();
    person.typeKey(KEY_G);
    ASSERT_TRUE(wait([&] { return typed(log) == "a日本cdefg"; })) << typed(log);

    method = std::make_unique<InputMethodServer>(runLoop);
    ASSERT_TRUE(wait([&] { return method->isFocused; })) << "found again";
    person.typeKey(KEY_A);
    ASSERT_TRUE(wait([&] { return log.marked.text == "に"; }));
    panel->setTextInput(std::nullopt);
    ASSERT_TRUE(wait([&] { return !method->isFocused; }));
    person.typeKey(KEY_B);
    ASSERT_TRUE(wait([&] { return typed(log) == "a日本cdefgb"; })) << typed(log);
}

}  // namespace vellumix::tests
