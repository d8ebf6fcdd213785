#include "shell/ExitStatus.h"

#include <cstdio>

namespace vellumix {

void say(const std::string& sentence) { std::fprintf(stderr, "vellumix: %s\n", sentence.c_str()); }

}  // namespace vellumix
