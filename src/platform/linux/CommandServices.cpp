#include "platform/linux/CommandServices.h"

#include <glib.h>

#include "platform/linux/process/Locale.h"

namespace vellumix::linux_desktop {

CommandServices::CommandServices(const Paths& paths)
    : paths(paths),
      keychain(files, paths.dataFolder(), {}),
      urlSession(runLoop),
      cloud(runLoop, urlSession, files, paths.dataFolder() + "/attachments") {}

Platform CommandServices::platform() {
    Platform platform;
    platform.runLoop = &runLoop;
    platform.log = &log;
    platform.files = &files;
    platform.keychain = &keychain;
    platform.urlSession = &urlSession;
    platform.cloud = &cloud;
    platform.defaultsPath = paths.settingsFile();
    platform.preferredLanguages = preferredLanguages();
    return platform;
}

std::string CommandServices::loginName() { return g_get_user_name(); }

}  // namespace vellumix::linux_desktop
