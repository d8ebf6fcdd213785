#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/coding/PropertyList.h"

namespace vellumix {

/// The program as it was built.
struct NSBundle {
    /// What the build says of itself, by key.
    PropertyDictionary infoDictionary;

    std::optional<PropertyValue> objectForInfoDictionaryKey(std::string_view key) const {
        const auto found = infoDictionary.find(key);
        return found == infoDictionary.end() ? std::nullopt : std::optional(found->second);
    }
    /// Nothing where the key is absent or holds another type.
    std::optional<std::string> string(std::string_view key) const {
        const auto found = objectForInfoDictionaryKey(key);
        const auto* const text = found ? std::get_if<std::string>(&*found) : nullptr;
        return text ? std::optional(*text) : std::nullopt;
    }
};

}  // namespace vellumix
