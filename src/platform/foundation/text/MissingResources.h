#pragma once

#include <string>
#include <string_view>
#include <vector>

/// What the program asked for by a name that none of its resources has. It goes on, with the name itself or
/// with nothing, as a person would rather see that than an end; but it is a fault of the program's, so the
/// log tells each name once, and in the tests it is a failure of the test that asked. Any thread.
namespace vellumix {

/// `kind` is "text" or "symbol", and `name` a literal of the program's: it goes into the log.
void reportMissing(std::string_view kind, std::string_view name);

/// Forgets what was reported, and returns it: each a kind, a blank and a name. At most 100.
std::vector<std::string> takeMissing();

}  // namespace vellumix
