#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>

#include "gallery/Gallery.h"
#include "shell/settings/LanguageManager.h"
#include "support/HeadlessTest.h"
#include "view/TreeUnderTest.h"

namespace vellumix {
namespace {

using namespace view;

/// The lines of a layout dump that lie outside of the box around them, to the left or right.
std::string overflows(const std::string& dump) {
    std::vector<std::pair<double, double>> around;
    std::istringstream lines(dump);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        const auto depth = line.find_first_not_of(' ') / 2;
        double x = 0;
        double y = 0;
        double width = 0;
        const auto comma = line.find(',');
        const auto start = line.rfind(' ', comma);
        if (std::sscanf(line.c_str() + start, "%lf,%lf %lfx", &x, &y, &width) != 3) return "unread: " + line;
        around.resize(depth);
        constexpr double rounding = 0.5;
        if (!around.empty() &&
            (x < around.back().first - rounding || x + width > around.back().second + rounding)) {
            found += line + '\n';
        }
        around.emplace_back(x, x + width);
    }
    return found;
}

class FitTest : public HeadlessTest {};

TEST_F(FitTest, NothingLeavesItsBoxAtAnyWidthInAnyLanguage) {
    for (const auto language : allAppLanguages) {
        LanguageManager::shared().currentLanguage.set(language);
        const auto sheets = gallerySheets();
        const auto panel = std::ranges::find_if(
            sheets, [](const GallerySheet& sheet) { return sheet.name.starts_with("panel"); });
        ASSERT_NE(panel, sheets.end());
        TreeUnderTest tree(panel->cells.front().content, {{800, 1000}});
        for (double width = 800; width >= 320; width -= 20) {
            tree.tree->setSurface({{width, 1000}});
            tree.frame(1);
            EXPECT_EQ(overflows(tree.tree->layoutDump()), "") << width << " wide in " << rawValue(language);
        }
        const auto updates = std::ranges::find(sheets, "updates", &GallerySheet::name);
        ASSERT_NE(updates, sheets.end());
        for (const auto& cell : updates->cells) {
            TreeUnderTest window(cell.content, {cell.size});
            EXPECT_EQ(overflows(window.tree->layoutDump()), "") << rawValue(language);
        }
    }
}

}  // namespace
}  // namespace vellumix
