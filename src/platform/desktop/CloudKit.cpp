#include "platform/desktop/CloudKit.h"

#include "platform/foundation/coding/PropertyList.h"

namespace vellumix {

namespace {

/// Names the class, so that a value of another kind, or of a later form, is none.
constexpr std::string_view tokenKey = "CKServerChangeToken";

}  // namespace

Data CKServerChangeToken::archived() const {
    return Data(writePropertyList({{std::string(tokenKey), opaque}}));
}

std::optional<CKServerChangeToken> CKServerChangeToken::unarchived(const Data& archive) {
    const auto dictionary = readPropertyList(archive);
    if (!dictionary) return std::nullopt;
    const auto found = dictionary->find(tokenKey);
    const auto* const opaque = found == dictionary->end() ? nullptr : std::get_if<Data>(&found->second);
    return opaque ? std::optional(CKServerChangeToken{*opaque}) : std::nullopt;
}

}  // namespace vellumix
