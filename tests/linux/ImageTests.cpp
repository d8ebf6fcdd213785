#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <string>

#include "platform/linux/images/PixbufDecoder.h"
#include "platform/linux/images/PixbufHandles.h"
#include "platform/linux/images/PixbufImages.h"
#include "platform/linux/images/PixbufLoading.h"

namespace vellumix::linux_desktop {
namespace {

using namespace std::string_literals;

constexpr int width = 37;
constexpr int height = 21;

using Pixbuf = glib::Object<GdkPixbuf>;

Pixbuf makePicture(bool hasAlpha) {
    Pixbuf picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, hasAlpha, 8, width, height));
    gdk_pixbuf_fill(picture.get(), 0x2060A0FF);
    auto* pixels = gdk_pixbuf_get_pixels(picture.get());
    pixels[0] = 0xFF;
    if (hasAlpha) pixels[3] = 0x40;
    return picture;
}

Data encode(const char* type, bool hasAlpha = false) {
    gchar* bytes = nullptr;
    gsize size = 0;
    EXPECT_TRUE(gdk_pixbuf_save_to_buffer(makePicture(hasAlpha).get(), &bytes, &size, type, nullptr, nullptr))
        << type;
    const glib::Text owned(bytes);
    return Data(ByteView(reinterpret_cast<const std::uint8_t*>(bytes), size));
}

Pixbuf decode(const Data& png) {
    const glib::Loader loader(gdk_pixbuf_loader_new_with_type("png", nullptr));
    if (!gdk_pixbuf_loader_write(loader.get(), png.view().data(), png.size(), nullptr) ||
        !gdk_pixbuf_loader_close(loader.get(), nullptr))
        return nullptr;
    return Pixbuf(GDK_PIXBUF(g_object_ref(gdk_pixbuf_loader_get_pixbuf(loader.get()))));
}

Data cut(const Data& data, std::size_t size) { return Data(data.view().first(size)); }

std::string littleEndian(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

std::string bigEndian(std::uint32_t value, int bytes) {
    const auto little = littleEndian(value, bytes);
    return std::string(little.rbegin(), little.rend());
}

std::string tiffField(int tag, int type, std::uint32_t value) {
    return littleEndian(static_cast<std::uint32_t>(tag), 2) +
           littleEndian(static_cast<std::uint32_t>(type), 2) + littleEndian(1, 4) + littleEndian(value, 4);
}

TEST(ImageTest, APNGStaysTheBytesThatItsOwnerGave) {
    PixbufImages images;
    for (const bool hasAlpha : {false, true}) {
        const auto png = encode("png", hasAlpha);
        const auto result = images.pngRepresentation(png);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->view().data(), png.view().data());
        Bytes followed(png.view().begin(), png.view().end());
        followed.push_back(0);
        EXPECT_EQ(images.pngRepresentation(Data(followed)), png) << "a byte behind the end";
    }
}

TEST(ImageTest, OtherEncodingsBecomePNG) {
    PixbufImages images;
    for (const auto* type : {"bmp", "tiff", "jpeg"}) {
        SCOPED_TRACE(type);
        const auto result = images.pngRepresentation(encode(type));
        ASSERT_TRUE(result);
        EXPECT_TRUE(isCompletePNG(*result));
        const auto picture = decode(*result);
        ASSERT_TRUE(picture);
        EXPECT_EQ(gdk_pixbuf_get_width(picture.get()), width);
        EXPECT_EQ(gdk_pixbuf_get_height(picture.get()), height);
        const auto* last =
            gdk_pixbuf_get_pixels(picture.get()) + (height - 1) * gdk_pixbuf_get_rowstride(picture.get());
        EXPECT_NEAR(last[0], 0x20, 3);
        EXPECT_NEAR(last[2], 0xA0, 3);
    }
    const auto result = images.pngRepresentation(encode("tiff", true));
    ASSERT_TRUE(result);
    const auto picture = decode(*result);
    ASSERT_TRUE(gdk_pixbuf_get_has_alpha(picture.get()));
    EXPECT_EQ(gdk_pixbuf_get_pixels(picture.get())[3], 0x40);

    // One red point, of 1 x 1 (GIF89a).
    const auto gif = "GIF89a\1\0\1\0\x80\0\0\xFF\0\0\0\0\0,\0\0\0\0\1\0\1\0\0\2\2\x44\1\0;"s;
    const auto point = images.pngRepresentation(Data(gif));
    ASSERT_TRUE(point);
    const auto red = decode(*point);
    ASSERT_TRUE(red);
    EXPECT_EQ(gdk_pixbuf_get_width(red.get()), 1);
    EXPECT_EQ(gdk_pixbuf_get_pixels(red.get())[0], 0xFF);
}

TEST(ImageTest, WhatIsNoWholeImageIsRefused) {
    PixbufImages images;
    EXPECT_FALSE(images.pngRepresentation(Data()));
    EXPECT_FALSE(images.pngRepresentation(Data("no image at all")));
    EXPECT_FALSE(
        images.pngRepresentation(Data("<svg xmlns='http://www.w3.org/2000/svg' width='1' height='1'/>")));
    const auto png = encode("png");
    for (std::size_t size = 0; size < png.size(); ++size)
        EXPECT_FALSE(images.pngRepresentation(cut(png, size))) << size;
    for (const auto* type : {"bmp", "tiff", "jpeg"}) {
        const auto whole = encode(type);
        for (const std::size_t size : {std::size_t{4}, std::size_t{20}, whole.size() / 2, whole.size() - 1})
            EXPECT_FALSE(images.pngRepresentation(cut(whole, size))) << type << ' ' << size;
    }
}

TEST(ImageTest, TheDecodingOfAPictureHasADeadline) {
    // Several steps long.
    const Pixbuf picture(gdk_pixbuf_new(GDK_COLORSPACE_RGB, false, 8, 200, 200));
    gdk_pixbuf_fill(picture.get(), 0x2060A0FF);
    gchar* bytes = nullptr;
    gsize size = 0;
    ASSERT_TRUE(gdk_pixbuf_save_to_buffer(picture.get(), &bytes, &size, "bmp", nullptr, nullptr));
    const glib::Text owned(bytes);
    const auto whole = wholeImage(Data(ByteView(reinterpret_cast<const std::uint8_t*>(bytes), size)));
    ASSERT_TRUE(whole);
    EXPECT_TRUE(loadPixbuf(*whole));
    EXPECT_FALSE(loadPixbuf(*whole, nullptr, 0));
}

/// Pictures whose heads are larger than what follows them could fill.
class HugeHeaderTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(HugeHeaderTest, AllocatesNothing) {
    const auto side = GetParam();
    const auto bmp = "BM"s + littleEndian(54, 4) + littleEndian(0, 4) + littleEndian(54, 4) +
                     littleEndian(40, 4) + littleEndian(side, 4) + littleEndian(side, 4) +
                     littleEndian(1, 2) + littleEndian(24, 2) + std::string(24, '\0') +
                     std::string(4096, 'x');
    const auto tiff = "II*\0"s + littleEndian(8, 4) + littleEndian(9, 2) + tiffField(256, 4, side) +
                      tiffField(257, 4, side) + tiffField(258, 3, 8) + tiffField(259, 3, 1) +
                      tiffField(262, 3, 1) + tiffField(273, 4, 200) + tiffField(277, 3, 1) +
                      tiffField(278, 4, side) + tiffField(279, 4, 4096) + littleEndian(0, 4) +
                      std::string(4096, 'x');
    const auto gif = "GIF89a"s + littleEndian(side, 2) + littleEndian(side, 2) +
                     "\x80\0\0\xFF\0\0\0\0\0,\0\0\0\0"s + littleEndian(side, 2) + littleEndian(side, 2) +
                     "\0\2\2\x44\1\0;"s;
    const auto jpegStart = encode("jpeg");
    auto jpeg = std::string(asText(jpegStart));
    // The frame header (ITU-T T.81 B.2.2): marker, length, precision, height, width.
    const auto frame = jpeg.find("\xFF\xC0\0\x11\x08"s);
    ASSERT_NE(frame, std::string::npos);
    jpeg.replace(frame + 5, 4, bigEndian(side, 2) + bigEndian(side, 2));
    auto png = std::string(asText(encode("png")));
    const auto chunk = "IHDR"s + bigEndian(side, 4) + bigEndian(side, 4) + png.substr(24, 5);
    // The CRC-32 of this very chunk, so that the size is all that is wrong with the picture.
    std::uint32_t crc = 0xFFFFFFFF;
    for (const auto byte : chunk) {
        crc ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    png.replace(12, 21, chunk + bigEndian(~crc, 4));
    ASSERT_TRUE(isCompletePNG(viewOf(png)));

    PixbufImages images;
    rusage start{};
    ::getrusage(RUSAGE_SELF, &start);
    const std::array<std::pair<const char*, std::string>, 5> cases{
        {{"bmp", bmp}, {"tiff", tiff}, {"gif", gif}, {"jpeg", jpeg}, {"png", png}}};
    PixbufDecoder decoder;
    for (const auto& [type, bytes] : cases) {
        EXPECT_FALSE(images.pngRepresentation(Data(bytes))) << type;
        EXPECT_FALSE(decoder.decode(Data(bytes), {88, 88})) << type;
        EXPECT_FALSE(decoder.sizeOf(Data(bytes))) << type;
    }
    rusage end{};
    ::getrusage(RUSAGE_SELF, &end);
    EXPECT_LT(end.ru_maxrss - start.ru_maxrss, 16 * 1024) << "kilobytes of memory";
}

// One beyond the number of pixels, and one beyond what a file of 5 KB can hold.
INSTANTIATE_TEST_SUITE_P(Sides, HugeHeaderTest, testing::Values(30'000, 7'000));

}  // namespace
}  // namespace vellumix::linux_desktop
