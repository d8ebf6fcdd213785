#include "delivery/FileOffer.h"

#include "core/capture/PasteboardWatcher.h"
#include "core/history/Store.h"
#include "delivery/PasteDelivery.h"
#include "platform/foundation/observation/NotificationCenter.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class FileOfferTest : public HeadlessTest {
protected:
    FileOfferTest() : HeadlessTest(NSPasteboard::Capabilities{.announcesChanges = true}) {}

    Observation count(const char* name, int& times) {
        return NotificationCenter::defaultCenter().observe(
            name, [&times](const NotificationCenter::UserInfo&) { ++times; });
    }
    /// The paths on the pasteboard.
    std::string offered() const {
        std::string paths;
        for (const auto& url : desktop.pasteboard.readFileURLs()) paths += url.path();
        return paths;
    }

    static constexpr double never = 1e6;
    const NSRunningApplication manager{.processIdentifier = 7, .bundleIdentifier = "files"};
    const ClipboardItem entry = fileItem("/home/user/letter.txt");
    const Trash::Offer copy{.file = URL::file("/private/letter.txt")};
    int gone = 0, otherNames = 0;
    Observation goneNotices = count(FileOffer::goneNotification, gone);
    Observation nameNotices = count(FileOffer::otherNameNotification, otherNames);
};

TEST_F(FileOfferTest, AMissingFileIsPastedFromTheTrashAndOthersAsEver) {
    const struct {
        const char* name;
        /// Nothing for a file that is in its place.
        std::optional<std::optional<Trash::Offer>> missing;
        double secondsToLook, secondsToFind;
        /// When the keystroke goes out; never if negative.
        double pastedAfter;
        std::string pasted;
        int searches, gone;
    } cases[] = {
        {"in its place", std::nullopt, 0, 0, 0.02, "/home/user/letter.txt", 0, 0},
        {"in its place on a slow disk", std::nullopt, 0.1, 0, 0.1, "/home/user/letter.txt", 0, 0},
        {"on a dead disk", copy, never, 0, FileOffer::presenceSeconds, "/home/user/letter.txt", 0, 0},
        {"in the trash", copy, 0, 0, 0.02, "/private/letter.txt", 1, 0},
        {"in a large trash", copy, 0, 3, 3, "/private/letter.txt", 1, 0},
        {"in an endless trash", copy, 0, never, -FileOffer::searchSeconds, "/home/user/letter.txt", 1, 1},
        {"gone", std::optional<Trash::Offer>(), 0, 0.01, -0.01, "/home/user/letter.txt", 1, 1},
    };
    Store store;
    PasteboardWatcher watcher(store);
    watcher.start();
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        desktop.trash.missing.clear();
        if (each.missing) desktop.trash.missing["/home/user/letter.txt"] = *each.missing;
        desktop.trash.secondsToLook = each.secondsToLook;
        desktop.trash.secondsToFind = each.secondsToFind;
        desktop.trash.searches = gone = 0;
        desktop.syntheticKeys.posted.clear();
        desktop.workspace.front = manager;
        deliverPaste(entry, manager);
        EXPECT_EQ(offered(), "/home/user/letter.txt") << "at once, as any entry";
        const auto answer = std::abs(each.pastedAfter);
        desktop.runLoop.advance(answer - 0.001);
        EXPECT_EQ(desktop.syntheticKeys.posted.size() + static_cast<std::size_t>(gone), 0U);
        desktop.runLoop.advance(0.002);
        EXPECT_EQ(desktop.syntheticKeys.posted.size(), each.pastedAfter > 0);
        desktop.runLoop.advance(30);
        EXPECT_EQ(desktop.syntheticKeys.posted.size(), each.pastedAfter > 0) << "once, or never";
        EXPECT_EQ(offered(), each.pasted);
        EXPECT_EQ(desktop.trash.searches, each.searches);
        EXPECT_EQ(gone, each.gone);
    }
    EXPECT_TRUE(store.items()->empty()) << "what the trash gave is no copy of the user's";
    EXPECT_EQ(otherNames, 0);
}

TEST_F(FileOfferTest, WhatHasBeenCopiedMeanwhileStays) {
    desktop.trash.missing["/home/user/letter.txt"] = copy;
    desktop.trash.secondsToFind = 1;
    for (const bool isOurs : {false, true}) {
        writeToPasteboard(entry);
        desktop.runLoop.advance(0.5);
        isOurs ? writeToPasteboard(textItem("newer"))
               : desktop.pasteboard.copyElsewhere({.text = String("newer")});
        desktop.runLoop.advance(1);
        EXPECT_EQ(desktop.pasteboard.stringForType(NSPasteboardTypeString), String("newer"));
    }

    // Of two quick pastes the later one's file is pasted by both.
    desktop.trash.missing["/b"] = Trash::Offer{.file = URL::file("/trash/b.2"), .hasItsName = false};
    desktop.workspace.front = manager;
    deliverPaste(entry, manager);
    desktop.runLoop.advance(0.5);
    deliverPaste(fileItem("/b"), manager);
    desktop.runLoop.advance(2);
    EXPECT_EQ(offered(), "/trash/b.2");
    EXPECT_EQ(desktop.syntheticKeys.posted.size(), 2U);
    EXPECT_EQ(otherNames, 1);
    EXPECT_EQ(gone, 0);
}

TEST_F(FileOfferTest, WhatWasOfferedGoesAWhileAfterTheNextCopy) {
    desktop.trash.missing["/home/user/letter.txt"] = copy;
    writeToPasteboard(entry);
    desktop.runLoop.advance(3 * FileOffer::margin);
    EXPECT_EQ(desktop.trash.releases, 0) << "it can still be pasted";
    desktop.pasteboard.copyElsewhere({.text = String("newer")});
    desktop.runLoop.advance(FileOffer::margin - 1);
    writeToPasteboard(entry);
    desktop.runLoop.advance(FileOffer::margin);
    EXPECT_EQ(desktop.trash.releases, 0) << "it was taken up again";
    writeToPasteboard(textItem("other"));
    desktop.runLoop.advance(FileOffer::margin - 1);
    EXPECT_EQ(desktop.trash.releases, 0);
    desktop.runLoop.advance(2);
    EXPECT_EQ(desktop.trash.releases, 1);
    desktop.pasteboard.copyElsewhere({.text = String("newest")});
    desktop.runLoop.advance(2 * FileOffer::margin);
    EXPECT_EQ(desktop.trash.releases, 1);
}

}  // namespace
}  // namespace vellumix
