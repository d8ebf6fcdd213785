#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/foundation/text/Unicode.h"

namespace vellumix::view {

/// What a field of one line shows of its text: the stretch round one place, however long the text is, with
/// what is being composed at the caret. Offsets are bytes.
class ShownText {
public:
    struct Source {
        std::string_view text;
        /// The stretch reaches at least so far to both sides of this place; both in bytes.
        std::size_t around = 0;
        std::size_t reach = 0;
        std::size_t caret = 0;
        /// What is being composed there; valid UTF-8.
        std::string_view marked;
    };

    ShownText() = default;
    explicit ShownText(const Source& source);

    /// Without line ends.
    const std::string& string() const { return string_; }
    /// The stretch of the text that it stands for.
    TextRange range() const { return range_; }
    /// What is being composed, in the string.
    TextRange marked() const { return marked_; }
    /// Where an offset of the text is in the string, at its ends for what lies outside, and the way back.
    /// An offset at the caret lies before what is being composed there.
    std::size_t shownOffset(std::size_t offset) const;
    std::size_t textOffset(std::size_t shown) const;

private:
    std::string string_;
    TextRange range_;
    TextRange marked_;
};

}  // namespace vellumix::view
