#pragma once

#include <vector>

#include "platform/view/paint/CairoHandles.h"
#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// Lines that Pango has set, stacked: those of a body, and a last one that stands for the rest of the text.
class PangoTextLayout final : public TextLayout {
public:
    struct Part {
        handles::Layout layout;
        /// How many of its lines are shown, from the first.
        int lineCount = 0;
        /// Where its text begins in the whole text, and how many of its bytes are the text's.
        std::size_t begin = 0;
        std::size_t length = 0;
    };
    enum class Rest {
        none,
        isLeftOut,
        /// Left out, and it begins another line.
        isLeftOutFromNextLine
    };
    /// At least one part with at least one line. `rest` is what the parts don't show.
    PangoTextLayout(std::vector<Part> parts, const TextOptions& options, Rest rest);

    Size size() const override { return size_; }
    double baseline() const override { return lines.front().baseline; }
    int lineCount() const override { return static_cast<int>(lines.size()); }
    bool isTruncated() const override { return rest_ != Rest::none; }
    Rest rest() const { return rest_; }
    Rect caret(std::size_t offset) const override;
    std::size_t offsetAt(Point point) const override;
    std::vector<Rect> areas(std::size_t begin, std::size_t end) const override;

    /// Draws in the context's colour, with the box's corner at its origin.
    void draw(cairo_t* context) const;
    /// Whether letters reach so far out of the box that they must be cut off at it, as piles of combining
    /// marks do.
    bool isOverflowing() const { return isOverflowing_; }

private:
    struct Line {
        PangoLayoutLine* line = nullptr;
        std::size_t partBegin = 0;
        std::size_t begin = 0;
        std::size_t end = 0;
        Rect rect;
        double baseline = 0;
        /// From the edge of its layout to that of the box.
        double shift = 0;
    };

    void addLines(const Part& part, double top);
    static void setWithoutFont(Line& line, double top);
    static void drawWithoutFont(const Line& line, cairo_t* context);
    const Line& lineOf(std::size_t offset) const;
    double xIn(const Line& line, std::size_t offset) const;

    std::vector<Part> parts;
    std::vector<Line> lines;
    Size size_;
    Rest rest_ = Rest::none;
    bool isOverflowing_ = false;
};

}  // namespace vellumix::view
