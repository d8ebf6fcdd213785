#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix {

/// The rewrites that the transform menu offers, in the menu's order.
enum class TextTransform {
    uppercase,
    lowercase,
    titleCase,
    trim,
    jsonFormat,
    urlEncode,
    urlDecode,
    base64Encode,
    base64Decode,
    removeDiacritics,
};

inline constexpr std::array allTextTransforms{
    TextTransform::uppercase,    TextTransform::lowercase,
    TextTransform::titleCase,    TextTransform::trim,
    TextTransform::jsonFormat,   TextTransform::urlEncode,
    TextTransform::urlDecode,    TextTransform::base64Encode,
    TextTransform::base64Decode, TextTransform::removeDiacritics,
};

/// The name of the case.
std::string_view rawValue(TextTransform transform);
/// The menu's words in the language chosen for the program.
std::string title(TextTransform transform);
/// A system symbol name.
std::string_view icon(TextTransform transform);
/// The rewritten UTF-8 text, or nothing when it can't be done. An empty text is a result.
std::optional<std::string> apply(TextTransform transform, std::string_view text);

}  // namespace vellumix
