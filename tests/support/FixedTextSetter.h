#pragma once

#include <memory>

#include "platform/view/values/TextLayout.h"

namespace vellumix::view {

/// Metrics that are the same everywhere, without fonts: every grapheme is 0.5 sizes wide (0.6 monospaced) and
/// every line 1.25 high.
std::unique_ptr<TextSetter> fixedTextSetter();

}  // namespace vellumix::view
