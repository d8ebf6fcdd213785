#pragma once

#include <string>

#include "platform/view/tree/Node.h"
#include "platform/view/values/Semantics.h"

namespace vellumix::view {

/// For tests and for looking for faults. Two blanks of indent a level, numbers with two digits at most.
std::string layoutText(const Node& root);
std::string semanticsText(const SemanticNode& root);

}  // namespace vellumix::view
