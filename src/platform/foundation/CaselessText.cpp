#include "platform/foundation/CaselessText.h"

#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdint>

namespace vellumix {

namespace {

/// Text is folded and searched in pieces of about this many bytes, so that a match early in a long text is
/// found early, and little memory is touched.
constexpr std::size_t pieceSize = 16384;
/// What tells a small ASCII letter from its capital.
constexpr char caseBit = 0x20;

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80; }

void appendFoldedASCII(std::string_view text, std::string& into) {
    const auto begin = into.size();
    into.append(text);
    for (auto at = begin; at < into.size(); ++at) {
        const char c = into[at];
        into[at] = static_cast<char>(c | (c >= 'A' && c <= 'Z' ? caseBit : 0));
    }
}

void appendFolded(std::string_view text, std::string& into) {
    UErrorCode status = U_ZERO_ERROR;
    const auto* const decomposition = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) {
        appendFoldedASCII(text, into);
        return;
    }
    auto wide = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    wide = decomposition->normalize(decomposition->normalize(wide, status).foldCase(), status);
    // Composed, so that a letter isn't found in the same letter with an accent.
    const auto* const composition = icu::Normalizer2::getNFCInstance(status);
    wide = composition->normalize(wide, status);
    wide.toUTF8String(into);
}

/// The end of the run that begins at `from` and is all ASCII, or has no two ASCII characters beside each
/// other. The last ASCII character before a run of others goes with that, as marks may combine with it.
std::size_t endOfRun(std::string_view text, std::size_t from, std::size_t limit) {
    const auto first = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto last = text.begin() + static_cast<std::ptrdiff_t>(limit);
    auto end = std::find_if_not(first, last, isASCII);
    if (end == last) return limit;
    if (end - first > 1) return static_cast<std::size_t>(end - text.begin()) - 1;
    while (end != last) {
        const auto ascii = std::find_if(end, last, isASCII);
        if (last - ascii < 2 || isASCII(ascii[1])) return static_cast<std::size_t>(ascii - text.begin());
        end = ascii + 1;
    }
    return limit;
}

/// A limit that parts no character from what combines with it: an ASCII character beyond which another ASCII
/// character stands, wherever there is one near.
std::size_t pieceEnd(std::string_view text, std::size_t from) {
    if (text.size() - from <= pieceSize) return text.size();
    auto end = from + pieceSize;
    while (end + 1 < text.size() && !(isASCII(text[end]) && isASCII(text[end + 1]))) ++end;
    return end + 1 < text.size() ? end : text.size();
}

void appendFoldedPiece(std::string_view text, std::size_t from, std::size_t limit, std::string& into) {
    while (from < limit) {
        const auto end = endOfRun(text, from, limit);
        const auto run = text.substr(from, end - from);
        std::ranges::all_of(run, isASCII) ? appendFoldedASCII(run, into) : appendFolded(run, into);
        from = end;
    }
}

}  // namespace

CaselessText::CaselessText(std::string_view text) { appendFoldedPiece(text, 0, text.size(), _folded); }

bool CaselessText::isIn(std::string_view text) const {
    if (_folded.empty()) return true;
    std::string window;
    for (std::size_t from = 0; from < text.size();) {
        const auto end = pieceEnd(text, from);
        appendFoldedPiece(text, from, end, window);
        if (window.find(_folded) != std::string::npos) return true;
        // What a match that goes on in the next piece may have begun with.
        window.erase(0, window.size() - std::min(window.size(), _folded.size() - 1));
        from = end;
    }
    return false;
}

}  // namespace vellumix
