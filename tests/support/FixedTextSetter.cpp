#include "support/FixedTextSetter.h"

#include <algorithm>
#include <cmath>

#include "platform/foundation/text/Unicode.h"

namespace vellumix::view {

namespace {

/// One line: the graphemes from `first` up to `end`, without the break that ends it.
struct Line {
    std::size_t first = 0;
    std::size_t end = 0;
    double x = 0;
    /// In graphemes, with an ellipsis.
    std::size_t width = 0;
};

class FixedTextLayout final : public TextLayout {
public:
    FixedTextLayout(const String& text, const TextOptions& options)
        : text(text),
          advance(options.font.size * (options.font.design == Font::Design::monospaced ? 0.6 : 0.5)),
          height(options.font.size * 1.25),
          boundaries(graphemeBoundaries(text)) {
        breakLines(options);
        std::size_t widest = 0;
        for (const auto& line : lines) widest = std::max(widest, line.width);
        size_ = {static_cast<double>(widest) * advance, static_cast<double>(lines.size()) * height};
        for (auto& line : lines) {
            const double free = size_.width - static_cast<double>(line.width) * advance;
            if (options.alignment == TextOptions::Alignment::centre) line.x = free / 2;
            if (options.alignment == TextOptions::Alignment::trailing) line.x = free;
        }
    }

    Size size() const override { return size_; }
    double baseline() const override { return height * 0.8; }
    int lineCount() const override { return static_cast<int>(lines.size()); }
    bool isTruncated() const override { return isTruncated_; }

    Rect caret(std::size_t offset) const override {
        const auto grapheme = graphemeAt(offset);
        const auto line = lineOf(grapheme);
        return {{xOf(line, grapheme), static_cast<double>(line) * height}, {0, height}};
    }

    std::size_t offsetAt(Point point) const override {
        const double row = std::floor(point.y / height);
        const auto last = static_cast<double>(lines.size() - 1);
        const auto& line = lines[static_cast<std::size_t>(std::clamp(row, 0.0, last))];
        const double column = std::round((point.x - line.x) / advance);
        const auto count = static_cast<double>(line.end - line.first);
        return boundaries[line.first + static_cast<std::size_t>(std::clamp(column, 0.0, count))];
    }

    std::vector<Rect> areas(std::size_t begin, std::size_t end) const override {
        std::vector<Rect> found;
        const auto from = graphemeAt(begin);
        const auto to = graphemeAt(end);
        for (std::size_t at = 0; at < lines.size(); ++at) {
            const auto first = std::max(from, lines[at].first);
            const auto last = std::min(to, lines[at].end);
            if (first >= last) continue;
            found.push_back({{xOf(at, first), static_cast<double>(at) * height},
                             {static_cast<double>(last - first) * advance, height}});
        }
        return found;
    }

private:
    std::size_t graphemeCount() const { return boundaries.size() - 1; }

    bool isAt(std::size_t grapheme, char c) const { return text.view()[boundaries[grapheme]] == c; }

    /// The end of the line that begins at a grapheme, and where the next begins.
    std::pair<std::size_t, std::size_t> lineFrom(std::size_t first, std::size_t columns) const {
        std::size_t lastBlank = first;
        for (auto at = first; at < graphemeCount(); ++at) {
            if (isAt(at, '\n') || isAt(at, '\r')) return {at, at + 1};
            if (isAt(at, ' ')) {
                lastBlank = at;
            } else if (at - first >= columns) {
                return lastBlank > first ? std::pair{lastBlank, lastBlank + 1} : std::pair{at, at};
            }
        }
        return {graphemeCount(), graphemeCount()};
    }

    void breakLines(const TextOptions& options) {
        const double fitting = std::floor(std::max(0.0, options.maximumWidth) / advance + 1e-9);
        const auto columns =
            static_cast<std::size_t>(std::clamp(fitting, 1.0, static_cast<double>(graphemeCount() + 1)));
        std::size_t at = 0;
        bool isOpen = true;
        while (isOpen) {
            if (options.lineLimit > 0 && lineCount() == options.lineLimit) {
                isTruncated_ = true;
                auto& last = lines.back();
                last.end = std::min(last.end, last.first + columns - 1);
                last.width = last.end - last.first + 1;
                return;
            }
            const auto [end, next] = lineFrom(at, columns);
            lines.push_back({at, end, 0, std::min(end - at, columns)});
            // A break at the very end opens one more line, where a caret can stand.
            isOpen = next < graphemeCount() || (next > end && !isAt(end, ' '));
            at = next;
        }
    }

    std::size_t graphemeAt(std::size_t offset) const {
        const auto after = std::upper_bound(boundaries.begin(), boundaries.end(), offset);
        return static_cast<std::size_t>(after - boundaries.begin()) - 1;
    }

    std::size_t lineOf(std::size_t grapheme) const {
        std::size_t line = lines.size() - 1;
        while (line > 0 && lines[line].first > grapheme) --line;
        return line;
    }

    double xOf(std::size_t line, std::size_t grapheme) const {
        const auto column = std::min(grapheme, lines[line].end) - lines[line].first;
        return lines[line].x + static_cast<double>(column) * advance;
    }

    String text;
    double advance;
    double height;
    std::vector<std::size_t> boundaries;
    std::vector<Line> lines;
    Size size_;
    bool isTruncated_ = false;
};

class FixedTextSetter final : public TextSetter {
public:
    std::shared_ptr<const TextLayout> set(const String& text, const TextOptions& options) override {
        return std::make_shared<FixedTextLayout>(text, options);
    }
};

}  // namespace

std::unique_ptr<TextSetter> fixedTextSetter() { return std::make_unique<FixedTextSetter>(); }

}  // namespace vellumix::view
