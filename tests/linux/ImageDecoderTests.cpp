#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/foundation/bytes/Base64.h"
#include "platform/linux/images/PixbufDecoder.h"
#include "platform/linux/images/PixbufHandles.h"

namespace vellumix::linux_desktop {
namespace {

using namespace std::string_literals;
using PixelSize = ImageDecoder::PixelSize;

/// The left half red, the right half blue.
Data halves(const char* type, int width, int height) {
    const glib::Object<GdkPixbuf> picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height));
    gdk_pixbuf_fill(picture.get(), 0xFF0000FF);
    const glib::Object<GdkPixbuf> right(
        gdk_pixbuf_new_subpixbuf(picture.get(), width / 2, 0, width - width / 2, height));
    gdk_pixbuf_fill(right.get(), 0x0000FFFF);
    gchar* bytes = nullptr;
    gsize size = 0;
    EXPECT_TRUE(gdk_pixbuf_save_to_buffer(picture.get(), &bytes, &size, type, nullptr, nullptr));
    const glib::Text owned(bytes);
    return Data(ByteView(reinterpret_cast<const std::uint8_t*>(bytes), size));
}

std::uint32_t pixelAt(const Bitmap& bitmap, int x, int y) {
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, bitmap.pixels.data() + 4 * (y * bitmap.width + x), sizeof pixel);
    return pixel;
}

PixelSize sizeOf(const Bitmap& bitmap) { return {bitmap.width, bitmap.height}; }

TEST(ImageDecoderTest, PicturesJustCoverTheBoxAndStandUpright) {
    PixbufDecoder decoder;
    for (const auto* type : {"png", "jpeg", "bmp", "tiff"}) {
        SCOPED_TRACE(type);
        const auto image = halves(type, 400, 100);
        EXPECT_EQ(decoder.sizeOf(image), (PixelSize{400, 100}));
        const auto small = decoder.decode(image, {40, 40});
        ASSERT_TRUE(small);
        EXPECT_EQ(sizeOf(*small), (PixelSize{160, 40}));
        EXPECT_EQ(sizeOf(*decoder.decode(image, {4000, 4000})), (PixelSize{400, 100})) << "never larger";
    }
    // Orientation 6 (Exif 2.3 section 4.6.4): what is stored on the left is on top.
    auto turned = std::string(asText(halves("jpeg", 400, 100)));
    turned.insert(2,
                  "\xFF\xE1\0\x22"
                  "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"s);
    EXPECT_EQ(decoder.sizeOf(Data(turned)), (PixelSize{100, 400}));
    const auto upright = decoder.decode(Data(turned), {10, 60});
    ASSERT_TRUE(upright);
    EXPECT_EQ(sizeOf(*upright), (PixelSize{15, 60}));
    EXPECT_GT(pixelAt(*upright, 7, 3) & 0xFF0000, 0xC00000U);
    EXPECT_LT(pixelAt(*upright, 7, 56) & 0xFF0000, 0x400000U);
    // A line that is 7 MB where it covers the box.
    const auto line = decoder.decode(halves("png", 900'000, 2), {88, 88});
    ASSERT_TRUE(line);
    EXPECT_LE(line->pixels.size(), 6U << 20);
}

TEST(ImageDecoderTest, RarePixelsBecomePremultipliedColour) {
    const struct {
        const char* what;
        const char* base64;
        std::uint32_t pixel;
    } cases[] = {
        {"16 bits a channel",
         "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABEAYAAACksqPJAAAAFElEQVQI12P8/5+BgYGh/"
         "j8DFAAALPADfixEpnsAAAAASUVORK5CYI"
         "I=",
         0x80800000},
        {"a palette with transparency",
         "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAMAAADD/I+4AAAAA1BMVEX/"
         "AAAZ4gk3AAAAAXRSTlOArV5bRgAAAAtJREFUeJxjYGAAAA"
         "ADAAG4rTpjAAAAAElFTkSuQmCC",
         0x80800000},
        {"CMYK",
         "/9j/7gAOQWRvYmUAZAAAAAAC/"
         "9sAQwADAgIDAgIDAwMDBAMDBAUIBQUEBAUKBwcGCAwKDAwLCgsLDQ4SEA0OEQ4LCxAWEBETFBUVFQ"
         "wPFxgWFBgSFBUU/"
         "9sAQwEDBAQFBAUJBQUJFA0LDRQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQUFBQU"
         "FBQUFBQU/8AAFAgABAAGBAERAAIRAQMRAQQRAP/EABUAAQEAAAAAAAAAAAAAAAAAAAUH/8QAFBABAAAAAAAAAAAAAAAAAAAAAP/"
         "EAB"
         "QBAQAAAAAAAAAAAAAAAAAAAAj/xAAUEQEAAAAAAAAAAAAAAAAAAAAA/9oADgQBAAIRAxEEAAA/ADBKJ1VX/9k=",
         0xFF2060A0},
    };
    PixbufDecoder decoder;
    for (const auto& sample : cases) {
        SCOPED_TRACE(sample.what);
        const auto bytes = base64::decode(sample.base64);
        ASSERT_TRUE(bytes);
        const auto bitmap = decoder.decode(Data(*bytes), {8, 8});
        ASSERT_TRUE(bitmap);
        for (int shift = 0; shift < 32; shift += 8) {
            const auto level = [shift](std::uint32_t pixel) {
                return static_cast<int>(pixel >> shift & 0xFF);
            };
            EXPECT_NEAR(level(pixelAt(*bitmap, 0, 0)), level(sample.pixel), 3) << shift;
        }
    }
}

TEST(ImageDecoderTest, WhatIsNoWholeImageHasNoPicture) {
    PixbufDecoder decoder;
    for (const auto* type : {"png", "jpeg", "bmp", "tiff"}) {
        const auto whole = halves(type, 40, 30);
        for (const std::size_t size :
             {std::size_t{0}, std::size_t{4}, std::size_t{20}, whole.size() / 2, whole.size() - 1})
            EXPECT_FALSE(decoder.decode(Data(whole.view().first(size)), {8, 8})) << type << ' ' << size;
    }
    auto empty = std::string(asText(halves("png", 40, 30)));
    empty.replace(16, 4, std::string(4, '\0'));
    EXPECT_FALSE(decoder.sizeOf(Data(empty))) << "no width";
    EXPECT_FALSE(decoder.decode(Data(empty), {8, 8}));
    EXPECT_FALSE(decoder.decode(halves("png", 4, 4), {0, 8}));
}

}  // namespace
}  // namespace vellumix::linux_desktop
