#pragma once

#include <optional>
#include <string>

#include "platform/foundation/cipher/SecretText.h"

namespace vellumix::linux_desktop {

/// A password from standard input. Asked for by the question, and unseen, where that is a terminal; else the
/// first line. Nothing at the end of the input, where the person breaks off, and for one of more than 1024
/// bytes. Blocks.
std::optional<SecretText> readPassword(const std::string& question);

}  // namespace vellumix::linux_desktop
