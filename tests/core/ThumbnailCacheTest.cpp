#include "core/history/ThumbnailCache.h"

#include "core/history/FileIconCache.h"
#include "core/history/Store.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class ThumbnailCacheTest : public HeadlessTest {
protected:
    using State = ThumbnailCache::State;

    ThumbnailCache::Thumbnail ask(const ClipboardItem& item, int side = 44) {
        return cache.thumbnail(item.id, {side, side}, [&] { return item.imageData(); });
    }

    ThumbnailCache& cache = ThumbnailCache::shared();
    int notices = 0;
    Observation changes = cache.observeChanges([this] { ++notices; });
};

TEST_F(ThumbnailCacheTest, ImagesAreDecodedOnceOnTheQueueAndTold) {
    const auto good = imageItem(std::string(asText(tinyPNG())));
    const auto bad = imageItem("no image");
    const auto cut = imageItem(std::string(asText(tinyPNG()).substr(0, tinyPNG().size() - 4)));
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_EQ(ask(cut).state, State::pending);
        EXPECT_EQ(ask(good).state, State::pending);
        EXPECT_EQ(ask(bad).state, State::pending);
    }
    EXPECT_EQ(desktop.imageDecoder.decodings, 0) << "nothing is decoded inside a frame";
    desktop.runLoop.settle();
    EXPECT_EQ(notices, 3);
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_TRUE(ask(good).bitmap);
        EXPECT_EQ(ask(good).imageSize, (ImageDecoder::PixelSize{1, 1}));
        EXPECT_EQ(ask(bad).state, State::failed);
        EXPECT_EQ(ask(cut).state, State::failed);
        EXPECT_FALSE(ask(cut).imageSize) << "a head alone is no image";
        desktop.runLoop.settle();
    }
    EXPECT_EQ(desktop.imageDecoder.decodings, 1);

    EXPECT_EQ(ask(good, 200).state, State::pending) << "an expanded card needs a larger one";
    EXPECT_TRUE(ask(good, 200).bitmap) << "and shows the smaller until then";
    desktop.runLoop.settle();
    EXPECT_EQ(ask(good, 200).state, State::ready);
    EXPECT_EQ(ask(good, 44).state, State::ready) << "which serves the collapsed card too";
}

TEST_F(ThumbnailCacheTest, EntriesThatGoOrAreLockedTakeTheirImagesAlong) {
    Store store;
    const auto removed = imageItem(std::string(asText(tinyPNG())));
    const auto locked = imageItem(std::string(asText(tinyPNG())));
    const auto underWay = imageItem(std::string(asText(tinyPNG())));
    for (const auto& item : {removed, locked, underWay}) store.add(item);
    ask(removed);
    ask(locked);
    desktop.runLoop.settle();
    ask(underWay);
    store.remove(removed);
    store.setLocked(locked, true);
    store.remove(underWay);
    desktop.runLoop.settle();
    for (const auto& item : {removed, locked, underWay})
        EXPECT_FALSE(cache.cache.objectForKey(item.id.uuidString()));
}

/// A view that shows icons: it is drawn again when what it read has changed.
class IconsShown final : ReadTracker {
public:
    std::shared_ptr<const Bitmap> draw(const URL& file) {
        isStale = false;
        return FileIconCache::shared().icon(file);
    }

    bool isStale = false;

private:
    void didRead(ObserverList<>& observers) override {
        reading = observers.add([this] { isStale = true; });
    }

    Observation reading;
};

TEST_F(ThumbnailCacheTest, IconsAreAskedForBetweenTheFramesAndAreAsTheDesktopHasThem) {
    auto& icons = desktop.fileIcons;
    Store store;
    const auto item = fileItem("/home/user/report.pdf");
    store.add(item);
    const auto& file = *item._fileURL;
    IconsShown view;
    EXPECT_FALSE(view.draw(file));
    view.draw(file);
    EXPECT_EQ(icons.questions, 0);
    desktop.runLoop.settle();
    EXPECT_EQ(icons.questions, 1);
    EXPECT_TRUE(view.isStale);
    const auto first = view.draw(file);
    ASSERT_TRUE(first);
    desktop.runLoop.settle();
    EXPECT_FALSE(view.isStale) << "nothing has changed";

    icons.grey.set(1);
    EXPECT_TRUE(view.isStale) << "the desktop has other icons now";
    EXPECT_EQ(view.draw(file), first) << "the old one until the new one is there";
    desktop.runLoop.settle();
    EXPECT_TRUE(view.isStale);
    EXPECT_EQ(view.draw(file)->pixels.front(), 1);
    store.setLocked(item, true);
    EXPECT_FALSE(FileIconCache::shared().cache.objectForKey(file.path())) << "locked, its path is nobody's";
    const auto asked = icons.questions;
    desktop.runLoop.settle();
    EXPECT_EQ(icons.questions, asked);
}

}  // namespace
}  // namespace vellumix
