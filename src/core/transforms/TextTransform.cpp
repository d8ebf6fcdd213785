#include "core/transforms/TextTransform.h"

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

std::optional<std::string> validUTF8(std::optional<std::string> text) {
    return text && isValidUTF8(*text) ? text : std::nullopt;
}

std::optional<std::string> base64Decoded(std::string_view text) {
    const auto bytes = base64::decode(text);
    return bytes ? validUTF8(std::string(asText(*bytes))) : std::nullopt;
}

std::optional<std::string> formattedJson(std::string_view json) {
    const auto value = JsonValue::parse(json);
    return value ? std::optional(value->pretty()) : std::nullopt;
}

using Result = std::optional<std::string>;

struct Row {
    std::string_view name;
    std::string_view icon;
    Result (*apply)(std::string_view text);
};

constexpr Row rows[] = {
#define TEXT_TRANSFORM(name, icon, result) \
    {#name, icon, [](std::string_view text) -> Result { return result; }},
#include "core/transforms/TextTransforms.def"
};

const Row& row(TextTransform transform) { return rows[static_cast<std::size_t>(transform)]; }

}  // namespace

std::string_view rawValue(TextTransform transform) { return row(transform).name; }
std::string title(TextTransform transform) {
    return localized("transform." + std::string(row(transform).name));
}
std::string_view icon(TextTransform transform) { return row(transform).icon; }
std::optional<std::string> apply(TextTransform transform, std::string_view text) {
    return row(transform).apply(text);
}

}  // namespace vellumix
