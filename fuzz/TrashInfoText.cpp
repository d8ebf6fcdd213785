// What lies in a trash, whoever put it there: a path that is read is one that a file can have, and never
// climbs.

#include <cstdlib>

#include "platform/linux/trash/TrashInfo.h"

using namespace vellumix::linux_desktop;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const auto info = TrashInfo::parse({reinterpret_cast<const char*>(bytes), size});
    if (!info) return 0;
    if (info->path.empty() || info->path.find('\0') != std::string::npos) std::abort();
    if (('/' + info->path + '/').find("/../") != std::string::npos) std::abort();
    if (!info->deletionDate.empty() && info->deletionDate.size() != 19) std::abort();
    return 0;
}
