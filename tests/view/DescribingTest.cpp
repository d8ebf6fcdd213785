#include <thread>

#include "core/history/EncryptionManager.h"
#include "core/history/Store.h"
#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "platform/foundation/observation/Published.h"
#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"

namespace vellumix::view {
namespace {

using Deed = std::function<void()>;

/// A view that does something where it is only to describe.
struct Doer {
    Deed deed;

    View body() const {
        if (deed) deed();
        return Text("described");
    }
};

class DescribingTest : public HeadlessTest {
protected:
    DescribingTest() { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }

    Store store;
    Published<int> property;
};

TEST_F(DescribingTest, ABodyThatDoesAnythingEndsAProgramWithAssertions) {
    const auto& platform = platform::current();
    const String plain("text");
    double number = 0;
    const auto blob = EncryptionManager::shared().encrypt(viewOf(plain));
    const struct {
        const char* what;
        Deed deed;
    } deeds[] = {
        {"a file was read",
         [&] {
             Bytes content;
             platform.files->read("/home/user/file", 1, content);
         }},
        {"the keychain was asked",
         [&] {
             platform.keychain->SecItemCopyMatching({"service", "account"});
         }},
        {"something was deciphered",
         [&] {
             auto copy = bytesOf(*blob);
             aesgcm::openInPlace(copy, SymmetricKey::random());
         }},
        {"an icon was read", [&] { platform.fileIcons->iconForFile(URL::file("/home/user/file"), 16); }},
        {"a notification was posted", [] { NotificationCenter::defaultCenter().post("any"); }},
        {"a setting was changed", [&] { UserDefaults::standard().set("any", PropertyValue(++number)); }},
        {"a published property was changed", [&] { property.set(1); }},
    };
    for (const auto& one : deeds) {
        one.deed();
        EXPECT_DEBUG_DEATH(TreeUnderTest{Doer{one.deed}}, one.what);
        // A row of a list is built while the list is laid out.
        const auto row = [&](std::size_t) {
            one.deed();
            return View(Text("row"));
        };
        EXPECT_DEBUG_DEATH(
            TreeUnderTest{LazyVStack(Spacing(0), RowSource{1, [](std::size_t) { return "row"; }, row})},
            one.what);
    }
    TreeUnderTest tree(Doer{});
    EXPECT_TRUE(tree.has(Role::text, "described"));
    deeds[0].deed();
}

TEST_F(DescribingTest, WhatIsForTheMainThreadEndsAProgramWithAssertionsOnAnother) {
    const auto elsewhere = [](const Deed& deed) { std::thread(deed).join(); };
    TreeUnderTest tree(Doer{});
    const Deed deeds[] = {
        [&] { property.set(1); },
        [&] { property.get(); },
        [&] { store.clear(); },
        [] { NotificationCenter::defaultCenter().post("any"); },
        [] { UserDefaults::standard().value<bool>("any"); },
        [] { onMainAfter(1, [] {}); },
        [&] { tree.tree->pointerLeft(); },
        [] { EncryptionManager::shared().encrypt(viewOf(String("text"))); },
    };
    for (const auto& deed : deeds) {
        deed();
        EXPECT_DEBUG_DEATH(elsewhere(deed), "main thread");
    }
}

}  // namespace
}  // namespace vellumix::view
