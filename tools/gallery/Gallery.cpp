#include "gallery/Gallery.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/view/paint/CairoPainter.h"
#include "platform/view/paint/PangoTextSetter.h"
#include "platform/view/values/Views.h"
#include "shell/settings/LanguageManager.h"
#include "shell/settings/ThemeManager.h"
#include "views/controls/Looks.h"

namespace vellumix {

using namespace view;

namespace {

/// Longer than any animation.
constexpr double rest = 10;
constexpr double margin = 12;
constexpr double captionHeight = 20;

View mounted(const GalleryCell& cell) {
    const auto& theme = ThemeManager::shared();
    const FrameLimits whole{
        .maximumWidth = unbounded, .maximumHeight = unbounded, .alignment = Alignment::topLeading()};
    const auto caption = Text(cell.caption).font(Font::system(9)).foreground(theme.mutedTextColor());
    const auto content = cell.caption.empty()
                             ? cell.content.frame(whole)
                             : VStack(Spacing(0), Alignment::topLeading(),
                                      {caption.frame({.height = captionHeight}), cell.content.frame(whole)})
                                   .padding(margin);
    return themed(content.background(Rectangle(), theme.backgroundColor()));
}

Size outerSize(const GalleryCell& cell) {
    if (cell.caption.empty()) return cell.size;
    return {cell.size.width + 2 * margin, cell.size.height + 2 * margin + captionHeight};
}

int pixels(double points, double scale) { return static_cast<int>(std::lround(points * scale)); }

}  // namespace

GalleryStage::GalleryStage(const View& root, TextSetter& texts, const Surface& surface)
    : tree(root, texts, surface) {
    tree.frame(now);
    // What is still to come, such as pictures, comes now.
    RunLoop::main().runUntil([] { return false; });
    settled();
}

void GalleryStage::hover(Role role, std::string_view label) {
    if (const auto at = find(role, label)) tree.pointerMoved(*at);
}

void GalleryStage::click(Role role, std::string_view label) {
    const auto at = find(role, label);
    if (!at) return;
    tree.pointerPressed({.at = *at});
    tree.pointerReleased(*at);
}

void GalleryStage::focusNext() { tree.focusNext(); }

void GalleryStage::type(std::string_view letters) {
    for (const char letter : letters) {
        tree.keyPressed({.text = std::string(1, letter)});
        settled();
    }
}

const DrawingList& GalleryStage::settled() {
    tree.frame(now);
    now += rest;
    return tree.frame(now);
}

std::optional<Point> GalleryStage::find(Role role, std::string_view label) {
    settled();
    const auto window = tree.semantics();
    const auto* found = window.find(role, label);
    return found ? std::optional(found->frame.centre()) : std::nullopt;
}

GalleryPicture paint(const GallerySheet& sheet, TextSetter& texts, double scale) {
    const auto columns = std::max<std::size_t>(1, sheet.columns);
    std::vector<double> widths(columns, 0);
    std::vector<double> heights;
    for (std::size_t at = 0; at < sheet.cells.size(); ++at) {
        const auto size = outerSize(sheet.cells[at]);
        if (at % columns == 0) heights.push_back(0);
        widths[at % columns] = std::max(widths[at % columns], size.width);
        heights.back() = std::max(heights.back(), size.height);
    }
    const auto total = [scale](const std::vector<double>& parts) {
        int sum = 0;
        for (const double part : parts) sum += pixels(part, scale);
        return sum;
    };
    const int width = total(widths);
    const int height = total(heights);
    const int stride = 4 * width;
    // A cell in the last row still needs whole strides behind its corner.
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height + 1));
    const std::span<std::uint8_t> all(memory);

    CairoPainter painter;
    const Rect whole{{}, {width / scale, height / scale}};
    CairoSurface ground(all, width, height, stride);
    painter.paint({draw::Fill{whole, Rectangle(), ThemeManager::shared().backgroundColor()}}, ground, scale,
                  whole);
    int y = 0;
    for (std::size_t row = 0; row < heights.size(); ++row) {
        int x = 0;
        for (std::size_t column = 0; column < columns; ++column) {
            const int cellWidth = pixels(widths[column], scale);
            const int cellHeight = pixels(heights[row], scale);
            const auto at = row * columns + column;
            if (at < sheet.cells.size()) {
                const Size size{widths[column], heights[row]};
                GalleryStage stage(mounted(sheet.cells[at]), texts, {size, scale});
                if (sheet.cells[at].act) sheet.cells[at].act(stage);
                const auto corner = static_cast<std::size_t>(y) * static_cast<std::size_t>(stride) +
                                    4 * static_cast<std::size_t>(x);
                CairoSurface cell(all.subspan(corner), cellWidth, cellHeight, stride);
                painter.paint(stage.settled(), cell, scale, {{}, size});
            }
            x += cellWidth;
        }
        y += pixels(heights[row], scale);
    }
    // The memory stays where it is when the vector moves.
    return {std::move(memory), std::move(ground)};
}

bool paintGallery(const std::string& folder) {
    auto& theme = ThemeManager::shared().currentTheme;
    auto& language = LanguageManager::shared().currentLanguage;
    PangoTextSetter texts;
    const auto write = [&](const GallerySheet& sheet, double scale, const std::string& words) {
        std::string factor = std::to_string(scale);
        factor.erase(factor.find_last_not_of("0.") + 1);
        const auto path = folder + "/" + sheet.name + "-" + words + "@" + factor + "x.png";
        return writePNG(paint(sheet, texts, scale).surface, path);
    };
    bool isWritten = true;
    for (const auto mode : allThemeModes) {
        theme.set(mode);
        const std::string themeName(rawValue(mode));
        for (const auto chosen : {AppLanguage::en, AppLanguage::ptBR, AppLanguage::es}) {
            language.set(chosen);
            for (const auto& sheet : gallerySheets()) {
                const bool isPanel = sheet.name.starts_with("panel");
                if (!isPanel && chosen != AppLanguage::en) continue;
                const auto words = isPanel ? std::string(rawValue(chosen)) + "-" + themeName : themeName;
                isWritten = write(sheet, 1, words) && isWritten;
                if (chosen != AppLanguage::en || sheet.cells.front().size.width > 700) continue;
                isWritten = write(sheet, 1.25, words) && write(sheet, 2, words) && isWritten;
            }
        }
    }
    return isWritten;
}

}  // namespace vellumix
