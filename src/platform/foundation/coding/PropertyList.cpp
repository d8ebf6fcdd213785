#include "platform/foundation/coding/PropertyList.h"

#include <plist/plist.h>

#include <cmath>
#include <cstdlib>
#include <memory>

#include "platform/foundation/coding/PlistHandles.h"

namespace vellumix {

namespace {

std::optional<PropertyValue> valueOf(plist_t node);

std::string stringOf(plist_t node) {
    std::uint64_t size = 0;
    const char* text = plist_get_string_ptr(node, &size);
    return text ? std::string(text, size) : std::string();
}

std::optional<PropertyValue> stringArrayOf(plist_t node) {
    std::vector<std::string> strings;
    for (std::uint32_t index = 0; index < plist_array_get_size(node); ++index) {
        auto* const element = plist_array_get_item(node, index);
        if (plist_get_node_type(element) != PLIST_STRING) return std::nullopt;
        strings.push_back(stringOf(element));
    }
    return strings;
}

std::optional<PropertyValue> valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            std::uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<double>(static_cast<std::int64_t>(value));
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING:
            return stringOf(node);
        case PLIST_DATA: {
            std::uint64_t size = 0;
            const char* bytes = plist_get_data_ptr(node, &size);
            return Data(std::string_view(bytes, size));
        }
        case PLIST_DATE: {
            std::int32_t seconds = 0;
            std::int32_t microseconds = 0;
            plist_get_date_val(node, &seconds, &microseconds);
            return Date{static_cast<double>(seconds) + microseconds / 1e6};
        }
        case PLIST_ARRAY:
            return stringArrayOf(node);
        default:
            return std::nullopt;
    }
}

plist_t nodeOf(const PropertyValue& value) {
    struct Maker {
        plist_t operator()(bool flag) const { return plist_new_bool(flag); }
        plist_t operator()(double number) const { return plist_new_real(number); }
        plist_t operator()(const std::string& text) const { return plist_new_string(text.c_str()); }
        plist_t operator()(const Data& data) const {
            return plist_new_data(reinterpret_cast<const char*>(data.view().data()), data.size());
        }
        plist_t operator()(Date date) const {
            return plist_new_date(static_cast<std::int32_t>(std::floor(date.secondsSinceReference)), 0);
        }
        plist_t operator()(const std::vector<std::string>& strings) const {
            auto* const array = plist_new_array();
            for (const auto& text : strings) plist_array_append_item(array, plist_new_string(text.c_str()));
            return array;
        }
    };
    return std::visit(Maker{}, value);
}

/// The library frees nested values by recursion, and its work on a text grows with the square of the
/// references in it: whoever may write the file could end every start, or keep it waiting for seconds. A
/// value nests by these elements alone, so that their number bounds the depth whatever stands round them.
bool isHarmless(std::string_view text) {
    constexpr std::size_t mostContainers = 100;
    constexpr std::size_t mostReferences = 4096;
    std::size_t containers = 0;
    std::size_t references = 0;
    for (std::size_t at = 0; (at = text.find_first_of("<&", at)) != std::string_view::npos; ++at) {
        const auto rest = text.substr(at + 1);
        if (text[at] == '&') ++references;
        if (text[at] == '<' && (rest.starts_with("array") || rest.starts_with("dict"))) ++containers;
    }
    return containers <= mostContainers && references <= mostReferences;
}

}  // namespace

std::optional<PropertyDictionary> readPropertyList(ByteView bytes) {
    // The library takes a binary form and text too; a settings file is XML, and less is open to a hostile
    // one.
    if (!asText(bytes).starts_with("<?xml") || !isHarmless(asText(bytes))) return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_xml(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()),
                   &parsed);
    const plist::Node root(parsed);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;

    PropertyDictionary dictionary;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(root.get(), &position);
    const plist::Memory iterator(position);
    while (true) {
        char* name = nullptr;
        plist_t node = nullptr;
        plist_dict_next_item(root.get(), position, &name, &node);
        const plist::Memory key(name);
        if (!node) break;
        if (auto value = valueOf(node)) dictionary.insert_or_assign(name, std::move(*value));
    }
    return dictionary;
}

std::string writePropertyList(const PropertyDictionary& dictionary) {
    const plist::Node root(plist_new_dict());
    for (const auto& [key, value] : dictionary) plist_dict_set_item(root.get(), key.c_str(), nodeOf(value));
    char* xml = nullptr;
    std::uint32_t size = 0;
    plist_to_xml(root.get(), &xml, &size);
    const plist::Memory text(xml);
    return std::string(xml, size);
}

}  // namespace vellumix
