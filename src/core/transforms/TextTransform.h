#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace vellumix {

/// One for each line of TextTransforms.def.
enum class TextTransform {
#define TEXT_TRANSFORM(name, icon, result) name,
#include "core/transforms/TextTransforms.def"
};

/// In the menu's order.
inline constexpr std::array allTextTransforms{
#define TEXT_TRANSFORM(name, icon, result) TextTransform::name,
#include "core/transforms/TextTransforms.def"
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
