#pragma once

#include <vector>

#include "core/history/ClipboardItem.h"
#include "platform/desktop/Platform.h"

/// Made-up entries, and pictures for them, to look at the views with.
namespace vellumix {

/// Paints a landscape for each picture that `samples` names.
class SampleImageDecoder final : public ImageDecoder {
public:
    std::optional<PixelSize> sizeOf(const Data& encoded) override;
    std::shared_ptr<const Bitmap> decode(const Data& encoded, PixelSize box) override;
};

/// A sheet of paper for every file.
class SampleFileIcons final : public FileIcons {
public:
    std::shared_ptr<const Bitmap> iconForFile(const URL& file, int pixels) override;
};

/// One entry of each kind, as people copy them, and awkward ones, newest first.
struct Samples {
    ClipboardItem text;
    ClipboardItem code;
    ClipboardItem link;
    ClipboardItem image;
    ClipboardItem brokenImage;
    ClipboardItem file;
    ClipboardItem fileWithoutURL;
    ClipboardItem locked;
    ClipboardItem rightToLeft;
    ClipboardItem emoji;
    ClipboardItem longWord;
    ClipboardItem paragraph;

    /// Dated back from now on. Main thread.
    static Samples make();
    /// Those of a lively history.
    std::vector<ClipboardItem> history() const;
};

}  // namespace vellumix
