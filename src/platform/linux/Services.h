#pragma once

#include "platform/desktop/Display.h"
#include "platform/linux/applications/DesktopSharing.h"
#include "platform/linux/authentication/PamAuthentication.h"
#include "platform/linux/bus/DesktopNotifications.h"
#include "platform/linux/cloud/CouchCloud.h"
#include "platform/linux/files/Paths.h"
#include "platform/linux/http/CurlSession.h"
#include "platform/linux/images/IconThemeFileIcons.h"
#include "platform/linux/images/PixbufDecoder.h"
#include "platform/linux/images/PixbufImages.h"
#include "platform/linux/loop/GLibRunLoop.h"
#include "platform/linux/process/SystemLog.h"
#include "platform/linux/trash/SharedTrash.h"

namespace vellumix::linux_desktop {

/// The services that every Linux desktop shares, whatever its display server. Main thread only.
class Services {
public:
    /// Of pictures. They are used on the threads of the run loop, so they must outlive it.
    struct Images {
        PixbufImages images;
        PixbufDecoder decoder;
    };

    /// All must outlive this. `platform` has the display's services already, and gets the others and the
    /// user's folders; `makePrompt` shows the password service's questions, and nothing where nobody sees a
    /// window.
    Services(Platform& platform, GLibRunLoop& runLoop, Images& images, FileSystem& files, Keychain& keychain,
             const Display& display, const Paths& paths, AuthenticationPromptMaker makePrompt);

private:
    SystemLog log{SystemLog::StandardError::withoutJournal};
    DesktopNotifications notifications;
    PamAuthentication authentication;
    IconThemeFileIcons fileIcons;
    DesktopSharing sharing;
    CurlSession urlSession;
    CouchCloud cloud;
    SharedTrash trash;
};

}  // namespace vellumix::linux_desktop
