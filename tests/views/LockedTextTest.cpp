#include <gtest/gtest.h>

#include "core/history/HistorySearch.h"
#include "core/history/Store.h"
#include "platform/view/values/Views.h"
#include "platform/view/windows/HostingView.h"
#include "support/HeadlessTest.h"
#include "support/OwnMemory.h"
#include "views/list/ClipboardListView.h"

namespace vellumix {
namespace {

using namespace view;

/// A panel in real fonts over a store.
class LockedTextTest : public HeadlessTest {
protected:
    LockedTextTest()
        : window(desktop.windows.makeWindow(
              {.kind = NSWindow::Kind::panel, .frame = {{}, {520, 620}}, .title = {}})),
          panel(*window,
                View(ClipboardListView{.onPasteAndClose = [](const ClipboardItem&) {},
                                       .onLock = [](const ClipboardItem&) {},
                                       .onUnlock = [](const ClipboardItem&) {},
                                       .onRequestUnlock = [](const ClipboardItem&, const String&,
                                                             const ClipboardListView::Answer&) {}})
                    .environment(&store),
                renderer) {}

    void setLocked(bool locked) { store.setLocked(ClipboardItem(store.items().get().front()), locked); }
    void open() {
        panel.orderFront();
        desktop.runLoop.advance(2);
    }
    void clickAt(Point at) {
        panel.tree().pointerPressed({.at = at});
        panel.tree().pointerReleased(at);
        desktop.runLoop.advance(2);
    }
    void search(const char* query) { HistorySearch::shared().found(store.items().get(), {.query = query}); }

    Store store;
    Renderer renderer;
    std::unique_ptr<NSWindow> window;
    HostingView panel;
};

/// A text that is nowhere in the program itself.
std::vector<std::string> letters() {
    std::vector<std::string> all;
    for (int place = 0; place < 40; ++place)
        all.push_back(std::string(1, static_cast<char>('a' + place * 7 % 23)));
    return all;
}

TEST_F(LockedTextTest, NothingOfATextIsLeftInMemoryOnceItIsLocked) {
#ifdef VELLUMIX_ADDRESS_SANITIZER
    GTEST_SKIP() << "the sanitizer keeps what was freed, and each argument of a call stays on the stack";
#endif
    const auto secret = letters();
    {
        std::string text;
        for (const auto& letter : secret) text += letter;
        store.add(textItem(text));
    }
    open();
    clickAt({300, 150});
    search("q");
    EXPECT_TRUE(ownMemoryHolds(secret)) << "it is shown";
    HistorySearch::shared().forget();

    setLocked(true);
    desktop.runLoop.advance(2);
    EXPECT_FALSE(ownMemoryHolds(secret)) << "locked in an open panel";

    setLocked(false);
    desktop.runLoop.advance(2);
    EXPECT_TRUE(ownMemoryHolds(secret)) << "shown again";
    panel.orderOut();
    setLocked(true);
    search("a");
    HistorySearch::shared().forget();
    desktop.runLoop.advance(2);
    EXPECT_FALSE(ownMemoryHolds(secret)) << "locked by the closing of the panel";
}

}  // namespace
}  // namespace vellumix
