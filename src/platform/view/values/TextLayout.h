#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/Geometry.h"
#include "platform/foundation/text/String.h"
#include "platform/view/values/Style.h"

namespace vellumix::view {

/// How a text is broken into lines.
struct TextOptions {
    Font font;
    /// In points. The text is wrapped there: at words, and inside a word that is wider.
    double maximumWidth = unbounded;
    /// 0 is no limit. What doesn't fit ends in an ellipsis.
    int lineLimit = 0;
    enum class Alignment { leading, centre, trailing } alignment = Alignment::leading;
};

/// A text set in lines. Immutable; offsets are bytes of the UTF-8 text that was set, at grapheme boundaries
/// (Unicode Standard Annex 29, section 3).
class TextLayout {
public:
    virtual ~TextLayout() = default;

    virtual Size size() const = 0;
    /// From the top to the first baseline.
    virtual double baseline() const = 0;
    virtual int lineCount() const = 0;
    virtual bool isTruncated() const = 0;
    /// The caret before the grapheme at an offset: its rectangle, of no width, as high as its line.
    virtual Rect caret(std::size_t offset) const = 0;
    /// The offset nearest to a point.
    virtual std::size_t offsetAt(Point point) const = 0;
    /// The areas that a range of the text covers, line by line, from left to right.
    virtual std::vector<Rect> areas(std::size_t begin, std::size_t end) const = 0;
};

/// Sets texts. Only the part that can be seen is looked at: a text of any length costs what its visible lines
/// cost, control characters show as a blank or nothing, and no input makes it fail.
class TextSetter {
public:
    virtual ~TextSetter() = default;
    virtual std::shared_ptr<const TextLayout> set(const String& text, const TextOptions& options) = 0;
    /// Keeps no text in memory that nobody else does.
    virtual void forget() {}
};

}  // namespace vellumix::view
