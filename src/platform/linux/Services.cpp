#include "platform/linux/Services.h"

#include <utility>

#include "platform/linux/process/Locale.h"

namespace vellumix::linux_desktop {

Services::Services(Platform& platform, GLibRunLoop& runLoop, Images& images, FileSystem& files,
                   Keychain& keychain, const Display& display, const Paths& paths,
                   AuthenticationPromptMaker makePrompt)
    : authentication({.makePrompt = std::move(makePrompt)}),
      fileIcons(runLoop, {.themeName = [&display] { return display.iconTheme(); }}),
      sharing(runLoop, files, *platform.pasteboard),
      urlSession(runLoop),
      cloud(runLoop, urlSession, files, paths.dataFolder() + "/attachments"),
      trash(runLoop, files, paths.dataFolder(),
            {.dataHome = paths.dataHome.value_or(paths.temporaryFolder)}) {
    platform.runLoop = &runLoop;
    platform.log = &log;
    platform.files = &files;
    platform.keychain = &keychain;
    platform.authentication = &authentication;
    platform.images = &images.images;
    platform.imageDecoder = &images.decoder;
    platform.notifications = &notifications;
    platform.fileIcons = &fileIcons;
    platform.sharing = &sharing;
    platform.urlSession = &urlSession;
    platform.cloud = &cloud;
    cloud.removeLeftovers();
    platform.trash = &trash;
    if (paths.dataHome) platform.applicationSupportDirectories = {*paths.dataHome};
    platform.temporaryDirectory = paths.temporaryFolder;
    platform.defaultsPath = paths.settingsFile();
    platform.preferredLanguages = preferredLanguages();
}

}  // namespace vellumix::linux_desktop
