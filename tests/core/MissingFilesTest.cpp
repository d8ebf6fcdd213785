#include "core/history/MissingFiles.h"

#include "core/history/Store.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class MissingFilesTest : public HeadlessTest, ReadTracker {
protected:
    /// As a view asks, which is drawn again when what it read has changed.
    bool draw(const URL& file) {
        isStale = false;
        return MissingFiles::shared().isGone(file);
    }

    bool isStale = false;

private:
    void didRead(ObserverList<>& observers) override {
        reading = observers.add([this] { isStale = true; });
    }

    Observation reading;
};

TEST_F(MissingFilesTest, AFileIsGoneWhenNeitherItsPlaceNorTheTrashHasIt) {
    const auto there = URL::file("/there"), trashed = URL::file("/trashed"), gone = URL::file("/gone");
    desktop.trash.missing["/trashed"] = Trash::Offer{.file = URL::file("/x")};
    desktop.trash.missing["/gone"] = std::nullopt;
    for (const auto& file : {there, trashed, gone, gone}) EXPECT_FALSE(draw(file));
    EXPECT_EQ(desktop.trash.looks, 0) << "nothing is looked at inside a frame";
    desktop.runLoop.settle();
    EXPECT_EQ(desktop.trash.looks, 3);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(draw(there));
    EXPECT_FALSE(draw(trashed));
    EXPECT_TRUE(draw(gone));
    desktop.runLoop.settle();
    EXPECT_EQ(desktop.trash.looks, 3) << "for a while that holds";

    desktop.runLoop.advance(MissingFiles::secondsKept + 1);
    desktop.trash.missing.clear();
    EXPECT_TRUE(draw(gone));
    desktop.runLoop.settle();
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(draw(gone)) << "it is back";
    desktop.runLoop.settle();
    EXPECT_EQ(desktop.runLoop.pending(), 0U) << "nobody asks, and nothing is looked at";
}

TEST_F(MissingFilesTest, ADeadDiskKeepsTheOthersWaitingForALittleAndALockedEntryIsNotAskedAbout) {
    desktop.trash.missing["/a"] = desktop.trash.missing["/b"] = std::nullopt;
    desktop.trash.secondsToLook = 2 * MissingFiles::patience;
    draw(URL::file("/a"));
    desktop.runLoop.advance(1);
    desktop.trash.secondsToLook = 0;
    draw(URL::file("/b"));
    desktop.runLoop.advance(MissingFiles::patience);
    EXPECT_TRUE(draw(URL::file("/b")));
    EXPECT_FALSE(draw(URL::file("/a"))) << "what can't be told isn't gone";

    Store store;
    const auto item = fileItem("/b");
    store.add(item);
    store.setLocked(item, true);
    EXPECT_FALSE(draw(URL::file("/b"))) << "its path is nobody's";
    desktop.trash.looks = 0;
    MissingFiles::shared().forget(URL::file("/b"));
    desktop.runLoop.settle();
    EXPECT_EQ(desktop.trash.looks, 0);
}

}  // namespace
}  // namespace vellumix
