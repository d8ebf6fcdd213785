#include "gallery/GallerySamples.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/view/paint/CairoPainter.h"
#include "platform/view/values/Views.h"

namespace vellumix {

using namespace view;

namespace {

using Kind = ClipboardItem::Kind;

constexpr Color skyTop{0.16, 0.20, 0.45, 1};
constexpr Color skyLow{0.98, 0.66, 0.42, 1};
constexpr Color sun{1, 0.92, 0.72, 1};
constexpr Color farHills{0.35, 0.25, 0.45, 1};
constexpr Color nearHills{0.13, 0.15, 0.28, 1};

/// Evening over two rows of hills; x and y from 0 to 1.
Color landscapeAt(double x, double y, double proportion) {
    if (y > 0.80 + 0.06 * std::sin(6 * x + 1)) return nearHills;
    if (y > 0.68 + 0.05 * std::sin(9 * x)) return farHills;
    if (std::hypot((x - 0.68) * proportion, y - 0.52) < 0.11) return sun;
    return interpolated(skyTop, skyLow, std::min(1.0, y / 0.7));
}

std::uint32_t pixelOf(const Color& color) {
    const auto byte = [](double part) { return static_cast<std::uint32_t>(std::lround(part * 255)); };
    return 0xFF000000U | byte(color.red) << 16 | byte(color.green) << 8 | byte(color.blue);
}

ClipboardItem entry(Kind kind, double age) {
    return {.id = UUID::random(), .date = RunLoop::main().now() + -age, .kind = kind};
}
ClipboardItem written(Kind kind, double age, const char* text) {
    auto item = entry(kind, age);
    item._text = String(text);
    return item;
}
ClipboardItem pictured(double age, const char* description) {
    auto item = entry(Kind::image, age);
    item._imageData = Data(std::string_view(description));
    return item;
}

}  // namespace

std::optional<ImageDecoder::PixelSize> SampleImageDecoder::sizeOf(const Data& encoded) {
    PixelSize size;
    const std::string text(asText(encoded));
    if (std::sscanf(text.c_str(), "landscape %dx%d", &size.width, &size.height) != 2) return std::nullopt;
    return size;
}

std::shared_ptr<const Bitmap> SampleImageDecoder::decode(const Data& encoded, PixelSize box) {
    const auto size = sizeOf(encoded);
    if (!size) return nullptr;
    const double part =
        std::min(1.0, std::max(1.0 * box.width / size->width, 1.0 * box.height / size->height));
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = static_cast<int>(std::ceil(size->width * part));
    bitmap->height = static_cast<int>(std::ceil(size->height * part));
    bitmap->pixels.resize(4 * static_cast<std::size_t>(bitmap->width) *
                          static_cast<std::size_t>(bitmap->height));
    auto* next = bitmap->pixels.data();
    for (int y = 0; y < bitmap->height; ++y) {
        for (int x = 0; x < bitmap->width; ++x, next += 4) {
            const auto pixel = pixelOf(landscapeAt(1.0 * x / bitmap->width, 1.0 * y / bitmap->height,
                                                   1.0 * bitmap->width / bitmap->height));
            std::memcpy(next, &pixel, sizeof pixel);
        }
    }
    return bitmap;
}

std::shared_ptr<const Bitmap> SampleFileIcons::iconForFile(const URL&, int pixels) {
    DrawingList sheet;
    const Rect page{{4, 1}, {20, 26}};
    sheet.emplace_back(draw::Fill{page, RoundedRectangle(2.5), Color::grey(0.97)});
    sheet.emplace_back(draw::Stroke{page, RoundedRectangle(2.5), Color::grey(0.7), 1});
    sheet.emplace_back(draw::Fill{{{7, 5}, {14, 7}}, RoundedRectangle(1), {0.36, 0.55, 0.86, 1}});
    for (const double y : {15.0, 18.0, 21.0}) {
        sheet.emplace_back(draw::Fill{{{7, y}, {14, 1}}, Rectangle(), Color::grey(0.72)});
    }
    CairoSurface surface(pixels, pixels);
    constexpr double points = 28;
    CairoPainter().paint(sheet, surface, pixels / points, {{}, {points, points}});
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->width = surface.width();
    bitmap->height = surface.height();
    bitmap->pixels.assign(surface.pixels().begin(), surface.pixels().end());
    return bitmap;
}

Samples Samples::make() {
    constexpr double minute = 60;
    constexpr double hour = 60 * minute;
    constexpr double day = 24 * hour;
    Samples all;
    all.text = written(Kind::text, 20, "Train 14:32 from platform 7, seats 41 and 42 by the window");
    all.code = written(Kind::code, 3 * minute,
                       "for (const auto& row : rows) {\n"
                       "    if (row.isEmpty()) continue;\n"
                       "    total += row.width() + spacing;\n"
                       "}\n"
                       "return std::min(total, limit);");
    all.link = written(Kind::link, 12 * minute, "https://example.org/journal/2026/the-quiet-craft-of-bread");
    all.image = pictured(26 * minute, "landscape 2000x1000");
    all.brokenImage = pictured(30 * minute, "nothing that can be decoded");
    all.file = entry(Kind::file, hour);
    all.file._fileURL = URL::file("/home/ana/Documents/Quarterly report, final (2).pdf");
    all.fileWithoutURL = entry(Kind::file, 2 * hour);
    all.locked = written(Kind::text, 3 * hour, "guest network: lantern-otter-42");
    all.locked.locked = true;
    all.locked.pinned = true;
    all.rightToLeft =
        written(Kind::text, 5 * hour, "نلتقي غدًا عند الساعة الخامسة أمام المكتبة، لا تنسَ الكتب");
    all.emoji = written(
        Kind::text, 9 * hour,
        "Dinner at ours on Saturday? 🍋🍝 Bring the little ones 👨‍👩‍👧 and an appetite!");
    all.longWord = written(Kind::link, day + hour,
                           "https://example.org/a?token=Zm9yZXZlci1hbmQtZXZlci1hbmQtZXZlci1hbmQtZXZlcg"
                           "Zm9yZXZlci1hbmQtZXZlci1hbmQtZXZlci1hbmQtZXZlcg");
    all.paragraph = written(
        Kind::text, 4 * day,
        "The kettle had been singing for a while before anyone heard it. Outside, the first snow of the "
        "year lay over the gardens, over the bicycles, over the bench that nobody had carried in.\n\n"
        "“Somebody ought to write this down,” she said, and so somebody did.");
    all.paragraph.pinned = true;
    return all;
}

std::vector<ClipboardItem> Samples::history() const {
    return {text, code, link, image, file, locked, rightToLeft, emoji, longWord, paragraph};
}

}  // namespace vellumix
