#pragma once

#include <string>

namespace vellumix {

/// The desktop's fonts, as fontconfig names families; several in one name are parted by commas.
struct FontFamilies {
    std::string system = "sans-serif";
    std::string monospaced = "monospace";
};

}  // namespace vellumix
