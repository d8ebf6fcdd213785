#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "platform/desktop/Bitmap.h"
#include "platform/desktop/ImageDecoder.h"
#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/cipher/UUID.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// Images made from history entries, by the `uuidString` of the entry's id. All of it can be made again.
///
/// Main thread only, but for `cache` itself. Images are decoded on `queue`; the look-ups answer at once, and
/// whoever was answered `pending` while a view was evaluated is evaluated again when more is known.
class ThumbnailCache {
public:
    enum class State { pending, failed, ready };
    struct Thumbnail {
        State state = State::pending;
        /// Null unless there is one; while a larger one is pending, the smaller.
        std::shared_ptr<const Bitmap> bitmap;
        /// Of the whole image, upright. Nothing when no image can be made of it, and while the first answer
        /// is pending.
        std::optional<ImageDecoder::PixelSize> imageSize;
    };
    /// The encoded image of an entry; nothing for one that has none. Called when its decoding is ordered.
    using Source = std::function<std::optional<Data>()>;

    static ThumbnailCache& shared();
    ThumbnailCache();

    /// The image of an entry, so large that it covers a box of that many pixels, or as large as the image is.
    /// A failure is remembered until the entry is forgotten.
    Thumbnail thumbnail(const UUID& id, ImageDecoder::PixelSize box, const Source& source);
    /// Drops what is known of an entry, what is being decoded included.
    void forget(const UUID& id);
    /// Called after anything that was pending has come or failed.
    Observation observeChanges(std::function<void()> observer) {
        return arrivals.observe(std::move(observer));
    }

    NSCache<Bitmap> cache;
    /// The edge of a thumbnail in points.
    static constexpr double thumbnailSize = 240.0;
    const std::unique_ptr<SerialQueue> queue;

private:
    /// What has been learnt from decoding an entry's image.
    struct Facts {
        std::optional<ImageDecoder::PixelSize> imageSize;
        ImageDecoder::PixelSize box;
        bool hasFailed = false;
    };
    /// More than an unbroken look through the history needs; a fact that has gone is learnt again.
    static constexpr std::size_t factLimit = 400;
    /// Who is turned away here asks again after the next arrival, and entries out of sight by then don't.
    static constexpr std::size_t pendingLimit = 16;

    void order(const std::string& key, ImageDecoder::PixelSize box, const Source& source);
    void arrive(const std::string& key, int number, std::shared_ptr<const Facts> facts,
                std::shared_ptr<const Bitmap> bitmap);

    NSCache<Facts> facts{factLimit, 0};
    /// The number of each decoding under way; one whose number has gone when it is done was forgotten.
    std::unordered_map<std::string, int> pending;
    int orders = 0;
    Published<int> arrivals;
    Lifetime lifetime;
};

}  // namespace vellumix
