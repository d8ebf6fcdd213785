#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/desktop/Bitmap.h"
#include "platform/desktop/ImageDecoder.h"
#include "platform/linux/images/PixbufHandles.h"

/// How bytes of strangers get to gdk-pixbuf: PNG, JPEG, TIFF, BMP, GIF and WebP alone, told by their first
/// bytes. Other loaders that happen to be installed aren't given any. Any thread; blocking.
namespace vellumix::linux_desktop {

struct WholeImage {
    /// The name of its loader.
    std::string_view loader;
    Data bytes;

    bool isPNG() const { return loader == "png"; }
};

/// Nothing for other encodings, for an image that lacks its end where its loader would paint what is missing,
/// and for a PNG beyond the limit of `NSBitmapImageRep`. Bytes behind the end of a PNG are left
/// out.
std::optional<WholeImage> wholeImage(const Data& encoded);

/// The size to decode to, for the size of the image.
using SizeChoice = std::function<ImageDecoder::PixelSize(ImageDecoder::PixelSize)>;

/// Seconds of processor time for one picture, many times what the largest one allowed needs. A JPEG of
/// thousands of scans would keep a thread for hours.
inline constexpr double decodingSeconds = 5;

/// The picture as it is stored, not turned upright; of an animation the first. Null for what can't be decoded
/// for one that takes more than `seconds`, and, before any pixels are allocated, for more of them than
/// `NSBitmapImageRep` allows. A loader that can decode to a smaller size allocates no more than about that
/// size.
glib::Object<GdkPixbuf> loadPixbuf(const WholeImage& image, const SizeChoice& chooseSize = nullptr,
                                   double seconds = decodingSeconds);

/// From the head of the image, of one that may lack its end; that of a JPEG is turned as its metadata say.
/// Nothing for other encodings and for more pixels than `NSBitmapImageRep` allows.
std::optional<ImageDecoder::PixelSize> sizeFromHead(const Data& encoded);

/// Whether turning it upright exchanges width and height (Exif 2.3 section 4.6.4, Orientation).
bool liesOnItsSide(GdkPixbuf* pixbuf);

/// The pixels of a picture that gdk-pixbuf has decoded, as the program keeps them. Any thread.
std::shared_ptr<const Bitmap> bitmapOf(GdkPixbuf* pixbuf);

}  // namespace vellumix::linux_desktop
