#include "platform/linux/process/InstanceLock.h"

#include <sys/file.h>

#include <cerrno>

namespace vellumix::linux_desktop {

InstanceLock::Outcome InstanceLock::take(FileSystem& files, const std::string& folder) {
    FileSystem::Handle handle{};
    if (files.makeFolder(folder) || files.openForWriting(folder + "/lock", handle)) return Outcome::failed;
    posix::Descriptor file(handle);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? Outcome::heldByOther : Outcome::failed;
    // The file stays when the lock goes: were it removed, two processes could each lock a file of that name.
    this->file = std::move(file);
    return Outcome::taken;
}

}  // namespace vellumix::linux_desktop
