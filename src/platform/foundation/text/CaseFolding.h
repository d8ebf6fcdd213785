#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "platform/foundation/text/FoldedForms.h"

namespace vellumix {

/// A text that grows at its end and is forgotten from its beginning, in memory that is written to once.
class FoldedText {
public:
    std::string_view view() const { return {bytes.get(), used}; }
    /// Keeps the last bytes, up to so many.
    void keepLast(std::size_t count);

private:
    friend class CaseFolding;

    /// Room for what so many bytes of a text become at most, and for what is written beyond.
    void makeRoom(std::size_t count);
    void reserve(std::size_t size);
    char* end() { return bytes.get() + used; }
    void setEnd(const char* end) { used = static_cast<std::size_t>(end - bytes.get()); }
    void takeBack(std::size_t count) { used -= count; }
    void append(std::string_view bytes);

    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    std::size_t used = 0;
};

/// Folds a text from its beginning to its end, as much at a time as is asked for, so that one form is left of
/// all that differ by case or are canonically equivalent: full case folding, composed (Unicode Standard
/// section 3.13, D145). Runs of more than `longestCombiningRun` combining characters and bytes that are not
/// UTF-8 stay as they are. Linear in the text, whatever it holds. The text must outlive it; one thread at a
/// time.
class CaseFolding {
public:
    explicit CaseFolding(std::string_view text) : text(text) {}

    bool isAtEnd() const { return at == text.size(); }
    /// What has been folded or left out, in bytes.
    std::size_t position() const { return at; }
    /// Appends what the next bytes become: about so many, up to where a character can't combine with those
    /// behind it.
    void fold(std::size_t count, FoldedText& output);
    /// Leaves out what lies before an offset and combines with nothing behind it.
    void skipTo(std::size_t offset);

private:
    static constexpr std::size_t noBase = std::string_view::npos;

    void foldBlocks(FoldedText& output, std::size_t limit);
    void foldSingly(FoldedText& output, std::size_t limit);
    void foldRun(FoldedText& output);
    bool foldRunQuickly(FoldedText& output, std::size_t end);
    void copyLongRun(FoldedText& output, std::size_t limit);
    bool isCombining(std::size_t at) const;

    FoldedForms& forms = FoldedForms::shared();
    std::string_view text;
    std::size_t at = 0;
    bool isInLongRun = false;
    /// The character that was folded last, if what follows may combine with it, and how many bytes it became.
    std::size_t base = noBase;
    std::size_t baseSize = 0;
};

}  // namespace vellumix
