#include "core/transforms/TextTransform.h"

#include "platform/foundation/bytes/Base64.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/coding/URL.h"
#include "platform/foundation/text/LocalizedText.h"
#include "platform/foundation/text/Unicode.h"

namespace vellumix {

namespace {

struct Row {
    std::string_view name;
    std::string_view icon;
};

const Row& row(TextTransform transform) {
    static constexpr std::array<Row, allTextTransforms.size()> rows{{
        {"uppercase", "textformat.size.larger"},
        {"lowercase", "textformat.size.smaller"},
        {"titleCase", "textformat"},
        {"trim", "scissors"},
        {"jsonFormat", "curlybraces"},
        {"urlEncode", "link"},
        {"urlDecode", "link.badge.plus"},
        {"base64Encode", "lock.shield"},
        {"base64Decode", "lock.open"},
        {"removeDiacritics", "character"},
    }};
    return rows[static_cast<std::size_t>(transform)];
}

std::optional<std::string> validUTF8(std::optional<std::string> text) {
    return text && isValidUTF8(*text) ? text : std::nullopt;
}

std::optional<std::string> base64Decoded(std::string_view text) {
    const auto bytes = base64::decode(text);
    return bytes ? validUTF8(std::string(asText(*bytes))) : std::nullopt;
}

std::optional<std::string> formatted(std::string_view json) {
    const auto value = JsonValue::parse(json);
    return value ? std::optional(value->pretty()) : std::nullopt;
}

}  // namespace

std::string_view rawValue(TextTransform transform) { return row(transform).name; }
std::string title(TextTransform transform) {
    return localized("transform." + std::string(row(transform).name));
}
std::string_view icon(TextTransform transform) { return row(transform).icon; }

std::optional<std::string> apply(TextTransform transform, std::string_view text) {
    switch (transform) {
        case TextTransform::uppercase:
            return uppercased(text);
        case TextTransform::lowercase:
            return lowercased(text);
        case TextTransform::titleCase:
            return capitalized(text);
        case TextTransform::trim:
            return std::string(trimmedOfWhitespaceAndNewlines(text));
        case TextTransform::jsonFormat:
            return formatted(text);
        case TextTransform::urlEncode:
            return percentEncoded(text, isAllowedInQuery);
        case TextTransform::urlDecode:
            return validUTF8(percentDecoded(text));
        case TextTransform::base64Encode:
            return base64::encode(viewOf(text));
        case TextTransform::base64Decode:
            return base64Decoded(text);
        case TextTransform::removeDiacritics:
            return withoutDiacritics(text);
    }
    return std::nullopt;
}

}  // namespace vellumix
