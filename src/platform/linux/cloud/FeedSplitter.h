#pragma once

#include <optional>

#include "platform/foundation/coding/Json.h"

namespace vellumix::linux_desktop {

/// Cuts the answer to `_changes` into the rows of its array "results", as its bytes come in, and holds no
/// more than one of them. (The API of CouchDB 3.3, section 1.3.9.)
class FeedSplitter {
public:
    /// Of a row: a document with all that belongs to its revision.
    static constexpr std::size_t largestRow = std::size_t{16} << 20;
    /// Of what stands round the rows.
    static constexpr std::size_t largestFrame = std::size_t{64} << 10;

    enum class Step {
        /// All bytes are taken.
        wantsMore,
        row,
        /// There was one, and it was too large to be kept.
        oversizedRow,
        /// This is no such feed. Nothing more is taken.
        malformed,
    };
    /// Takes bytes from the front of the view, up to the end of the next row.
    Step next(ByteView& bytes);
    /// The row that `next` has told of, until the next call. Its own text isn't checked.
    ByteView row() const { return row_; }
    /// What stood round the rows, once the answer is whole: an object whose "results" is empty. Nothing where
    /// it isn't that.
    std::optional<JsonValue> frame() const;

private:
    enum class Place { frame, atFirstRow, inRow, behindRow, behindComma };

    bool takeFrameByte(char byte);
    bool opensResults() const;
    std::optional<Step> takeRow(ByteView& bytes);
    /// Moves over what is inside a string; false when the bytes end in it.
    bool passString(ByteView bytes, std::size_t& at);
    void keep(ByteView part);

    Place place = Place::frame;
    Bytes frame_;
    Bytes row_;
    bool isOversized = false;
    bool hasResults = false;
    /// Of brackets round the present byte.
    std::size_t depth = 0;
    bool isInString = false;
    bool isEscaped = false;
};

}  // namespace vellumix::linux_desktop
