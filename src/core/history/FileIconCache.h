#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/Bitmap.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/foundation/observation/Published.h"

namespace vellumix {

/// The icons by which the desktop shows files, by path. All of it can be had again.
///
/// Main thread only. The desktop is asked one icon a turn of the loop, and never by a look-up, which answers
/// at once: whoever asked while a view was evaluated is evaluated again when the icon has come or changed.
class FileIconCache {
public:
    static FileIconCache& shared();

    /// As it was when the desktop was last asked; null until then, and where the desktop has none. Each call
    /// has the desktop asked anew: what lies at the path and the desktop's theme may change.
    std::shared_ptr<const Bitmap> icon(const URL& file);
    /// Drops what is known of a file.
    void forget(const URL& file);

    /// The side of an icon in pixels, for up to twice the density of the 28 points that a card shows.
    static constexpr int side = 56;
    /// As many as the history has entries, each of 12 KiB.
    NSCache<Bitmap> cache{200, 0};

private:
    class Reads;

    void askLater();
    void ask();

    /// The files that the desktop is still to be asked about: no more than were drawn since the last turn.
    std::deque<URL> wanted;
    /// What the desktop told by while it was last asked; its changes are those of any file's icon.
    std::vector<Observation> reads;
    Published<int> changes;
    Lifetime lifetime;
};

}  // namespace vellumix
