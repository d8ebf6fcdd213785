#pragma once

#include <span>
#include <string_view>

namespace vellumix {

/// The strings tables of src/resources, written into the program by the build.
struct EmbeddedTable {
    std::string_view folder;
    std::string_view strings;
};
extern const std::span<const EmbeddedTable> embeddedTables;

}  // namespace vellumix
