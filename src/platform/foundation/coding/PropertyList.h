#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/foundation/bytes/Data.h"
#include "platform/foundation/loop/Date.h"

/// A flat dictionary as an XML property list (Apple PropertyList-1.0 DTD), by libplist.
namespace vellumix {

using PropertyValue = std::variant<bool, double, std::string, Data, Date, std::vector<std::string>>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

/// Nothing when the bytes aren't a property list whose root is a dictionary, or hold more than 100 containers
/// or 4096 references such as "&amp;". Integers read as doubles; a value of any other kind is left out.
std::optional<PropertyDictionary> readPropertyList(ByteView bytes);
std::string writePropertyList(const PropertyDictionary& dictionary);

}  // namespace vellumix
