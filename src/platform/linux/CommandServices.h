#pragma once

#include <string>

#include "platform/desktop/Platform.h"
#include "platform/linux/cloud/CouchCloud.h"
#include "platform/linux/files/Paths.h"
#include "platform/linux/files/PosixFileSystem.h"
#include "platform/linux/http/CurlSession.h"
#include "platform/linux/keyring/ChosenKeychain.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/linux/process/SystemLog.h"

namespace vellumix::linux_desktop {

/// What a command needs that asks for an account and for no display. Main thread only.
class CommandServices {
public:
    explicit CommandServices(const Paths& paths);

    /// The other services are absent.
    Platform platform();
    /// By which the system knows the person.
    static std::string loginName();

private:
    const Paths paths;
    SystemLog log{SystemLog::StandardError::withoutJournal};
    GLibRunLoop runLoop;
    PosixFileSystem files;
    ChosenKeychain keychain;
    CurlSession urlSession;
    CouchCloud cloud;
};

}  // namespace vellumix::linux_desktop
