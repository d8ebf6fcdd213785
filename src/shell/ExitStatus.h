#pragma once

#include <string>

namespace vellumix {

/// What the process tells whoever started it.
enum class ExitStatus { done = 0, impossible = 1, wrongWords = 2, nothingRunning = 3 };

/// Says one sentence to the person who started the program, on standard error.
void say(const std::string& sentence);

}  // namespace vellumix
