#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "platform/view/text/ShownText.h"
#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// The one line of a text field: the stretch of its text that is laid out, and how far that has been scrolled
/// to keep a place in sight. Lengths are in points, places from the left edge of what is laid out.
class FieldLine {
public:
    static constexpr double caretWidth = 1.5;

    /// Brings `source.around` into sight; `source.reach` is its own affair. `composedCaret` is where the
    /// caret stands in what is being composed, in bytes.
    void layOut(TextSetter& texts, const Font& font, double width, ShownText::Source source,
                std::size_t composedCaret);

    /// Null before it has been laid out.
    const std::shared_ptr<const TextLayout>& layout() const { return layout_; }
    const ShownText& shown() const { return shown_; }
    /// How much of it is out of sight on the left.
    double scrolled() const { return scrolled_; }
    /// Of a line of the font alone, from its top.
    double baseline() const { return baseline_; }
    double caretX() const { return caretX_; }

    /// These need a layout.
    double xOf(std::size_t offset) const;
    std::size_t offsetAt(double x) const;
    /// The place for a caret that is seen next to that of an offset; nothing at the end of what is laid out.
    std::optional<std::size_t> offsetBeside(std::size_t offset, bool toRight) const;

private:
    ShownText shown_;
    std::shared_ptr<const TextLayout> layout_;
    double baseline_ = 0;
    double scrolled_ = 0;
    double caretX_ = 0;
};

}  // namespace vellumix::view
