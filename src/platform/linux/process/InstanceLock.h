#pragma once

#include <string>

#include "platform/foundation/files/FileSystem.h"
#include "platform/linux/files/PosixHandles.h"

namespace vellumix::linux_desktop {

/// Keeps a second process from writing into the same data folder, also where there is no session bus. Held
/// from before the first read of that folder to after the last write; the system frees it with the process,
/// however that ends.
class InstanceLock {
public:
    enum class Outcome {
        taken,
        /// Another living process has it.
        heldByOther,
        /// The folder or the lock file can't be made, or its file system knows no locks.
        failed,
    };

    /// Makes the folder if need be, and locks the file "lock" in it. Doesn't wait.
    Outcome take(FileSystem& files, const std::string& folder);
    void release() { file.end(); }

private:
    posix::Descriptor file;
};

}  // namespace vellumix::linux_desktop
