#pragma once

#include <string>
#include <vector>

#include "platform/desktop/Alert.h"
#include "platform/desktop/BitmapImageRep.h"
#include "platform/desktop/Bundle.h"
#include "platform/desktop/CloudKit.h"
#include "platform/desktop/EventTap.h"
#include "platform/desktop/FileIcons.h"
#include "platform/desktop/FontFamilies.h"
#include "platform/desktop/ImageDecoder.h"
#include "platform/desktop/Keyboard.h"
#include "platform/desktop/Keychain.h"
#include "platform/desktop/LocalAuthentication.h"
#include "platform/desktop/Pasteboard.h"
#include "platform/desktop/ProcessInfo.h"
#include "platform/desktop/Sharing.h"
#include "platform/desktop/StatusItem.h"
#include "platform/desktop/Trash.h"
#include "platform/desktop/URLSession.h"
#include "platform/desktop/Updater.h"
#include "platform/desktop/UserNotifications.h"
#include "platform/desktop/Window.h"
#include "platform/desktop/Workspace.h"
#include "platform/foundation/files/FileSystem.h"
#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/observation/SharedInstances.h"

namespace vellumix {

/// Everything that the program takes from a desktop: plain, so that it can be filled in parts and changed
/// field by field. Once it is in force every service is there, and outlives it.
struct Platform {
    RunLoop* runLoop = nullptr;
    LogSink* log = nullptr;
    FileSystem* files = nullptr;
    NSPasteboard* pasteboard = nullptr;
    NSWorkspace* workspace = nullptr;
    Keychain* keychain = nullptr;
    LocalAuthentication* authentication = nullptr;
    NSBitmapImageRep* images = nullptr;
    Alerts* alerts = nullptr;
    UserNotifications* notifications = nullptr;
    NSStatusBar* statusBar = nullptr;
    WindowServer* windows = nullptr;
    ImageDecoder* imageDecoder = nullptr;
    FileIcons* fileIcons = nullptr;
    SharingServices* sharing = nullptr;
    Trash* trash = nullptr;
    Hotkeys* hotkeys = nullptr;
    EventTaps* eventTaps = nullptr;
    SyntheticKeys* syntheticKeys = nullptr;
    NSProcessInfo* processInfo = nullptr;
    NSURLSession* urlSession = nullptr;
    CloudServices* cloud = nullptr;
    Updates* updates = nullptr;
    NSBundle mainBundle;
    /// Folders for the user's application data, best first; may be empty.
    std::vector<std::string> applicationSupportDirectories;
    std::string temporaryDirectory;
    /// The file of the user defaults.
    std::string defaultsPath;
    /// Locale names as the desktop gives them, best first.
    std::vector<std::string> preferredLanguages;
    FontFamilies fontFamilies;
};

namespace platform {

/// The platform in force. Main thread.
Platform& current();

/// Puts a platform in force for the lifetime of the scope, with user defaults and shared instances of its
/// own; what was in force before comes back at the end.
class Scope {
public:
    explicit Scope(Platform platform);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    Platform platform;
    SharedInstances instances;
    Platform* outerPlatform;
    RunLoop* outerLoop;
    LogSink* outerLog;
    SharedInstances* outerInstances;
    UserDefaults defaults;
    UserDefaults* outerDefaults;
};

}  // namespace platform
}  // namespace vellumix
