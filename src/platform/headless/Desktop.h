#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/Platform.h"
#include "platform/foundation/observation/Published.h"
#include "platform/headless/Cloud.h"
#include "platform/headless/EventTaps.h"
#include "platform/headless/Keyboard.h"
#include "platform/headless/LocalAuthentication.h"
#include "platform/headless/MemoryFileSystem.h"
#include "platform/headless/Pasteboard.h"
#include "platform/headless/StatusBar.h"
#include "platform/headless/URLSession.h"
#include "platform/headless/VirtualRunLoop.h"
#include "platform/headless/Windows.h"

namespace vellumix::headless {

/// Applications in memory: whoever is set or activated is in front.
class Workspace final : public NSWorkspace {
public:
    std::optional<NSRunningApplication> frontmostApplication() const override { return front; }

    bool activate(const NSRunningApplication& application) override {
        activated.push_back(application);
        if (!isSlow) front = application;
        return true;
    }

    std::optional<NSRunningApplication> front;
    std::vector<NSRunningApplication> activated;
    /// Applications don't come to the front by themselves.
    bool isSlow = false;
};

/// A keychain in memory that can refuse.
class Keychain final : public vellumix::Keychain {
public:
    Match SecItemCopyMatching(const KeychainItem& item) override;
    OSStatus SecItemDelete(const KeychainItem& item) override;
    OSStatus SecItemAdd(const KeychainItem& item, ByteView secret) override;
    std::string description() const override { return "in memory"; }

    /// What every call answers instead of doing anything.
    std::optional<OSStatus> refusal;
    std::map<std::string, Bytes> items;
    int reads = 0;
    int additions = 0;
    /// Refuses from the n-th read on, counted from 1; 0 never does.
    int refusesFromRead = 0;
};

/// Takes PNG alone: there is no decoder without a desktop's libraries.
class Images final : public NSBitmapImageRep {
public:
    std::optional<Data> pngRepresentation(const Data& encoded) override {
        return isCompletePNG(encoded) ? std::optional(encoded) : std::nullopt;
    }
};

/// Answers modal questions as it was told to; cancels when it wasn't.
class Alerts final : public vellumix::Alerts {
public:
    int runModal(const NSAlert& alert) override;

    /// Called for each alert while it is up; it may let time pass.
    std::function<int(const NSAlert&)> answer;
    int shown = 0;
};

/// Keeps what was said.
class UserNotifications final : public vellumix::UserNotifications {
public:
    void show(const std::string&, const std::string& body) override { bodies.push_back(body); }

    std::vector<std::string> bodies;
};

/// Knows the sizes of PNG files alone, and shows each as one grey: there is no decoder without a desktop's
/// libraries.
class ImageDecoder final : public vellumix::ImageDecoder {
public:
    std::optional<PixelSize> sizeOf(const Data& encoded) override;
    std::shared_ptr<const Bitmap> decode(const Data& encoded, PixelSize box) override;

    int decodings = 0;
};

/// One square for every file, of the grey that the desktop has for files.
class FileIcons final : public vellumix::FileIcons {
public:
    std::shared_ptr<const Bitmap> iconForFile(const URL& file, int pixels) override;

    bool hasIcons = true;
    Published<int> grey{128};
    int questions = 0;
};

/// Keeps what was shared.
class SharingServices final : public vellumix::SharingServices {
public:
    std::vector<Service> servicesFor(const std::vector<SharedItem>& items) const override;
    void perform(Service service, const std::vector<SharedItem>& items) override;
    bool openURL(const URL& url) override;

    std::vector<std::pair<Service, std::vector<SharedItem>>> performed;
    std::vector<URL> opened;
};

/// Files that are all in their places, but for those that were said not to be.
class Trash final : public vellumix::Trash {
public:
    void isThere(const URL& file, std::function<void(bool)> answer) override;
    void holds(const URL& file, std::function<void(bool)> answer) override;
    void offer(const URL& file, std::function<void(std::optional<Offer>)> answer) override;
    void release() override { ++releases; }

    /// By path, what the trash gives for it; nothing where it is gone.
    std::map<std::string, std::optional<Offer>> missing;
    /// How long the disk takes to tell whether a file is there, and to find one in the trash.
    double secondsToLook = 0, secondsToFind = 0;
    int looks = 0, searches = 0, releases = 0;
};

/// A process that was started as a test says.
class ProcessInfo final : public NSProcessInfo {
public:
    const std::vector<std::string>& arguments() const override { return arguments_; }
    std::optional<std::string> environment(const std::string& name) const override {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    }
    std::string operatingSystemVersionString() const override { return systemVersion; }
    NSLocale currentLocale() const override { return locale; }

    std::vector<std::string> arguments_;
    std::map<std::string, std::string> variables;
    std::string systemVersion = "Headless 1";
    NSLocale locale;
};

/// An updater that looks for nothing, and counts what it was told.
class Updates final : public vellumix::Updates {
public:
    std::unique_ptr<SPUStandardUpdaterController> initWithStartingUpdater(bool startingUpdater) override;

    int made = 0;
    int started = 0;
    int checks = 0;
};

/// Keeps the lines of the log as "Category: message".
class MemoryLog final : public LogSink {
public:
    void write(Level level, std::string_view category, std::string_view message) override;
    bool contains(std::string_view part) const;

    std::vector<std::string> lines;
};

/// A whole desktop in memory, deterministic, with virtual time.
class Desktop {
public:
    explicit Desktop(NSPasteboard::Capabilities capabilities = {}) : pasteboard(capabilities) {}

    Platform platform();

    VirtualRunLoop runLoop;
    MemoryLog log;
    MemoryFileSystem files;
    Pasteboard pasteboard;
    Workspace workspace;
    Keychain keychain;
    LocalAuthentication authentication;
    Images images;
    Alerts alerts;
    UserNotifications notifications;
    StatusBar statusBar;
    WindowServer windows{runLoop};
    ImageDecoder imageDecoder;
    FileIcons fileIcons;
    SharingServices sharing;
    Trash trash;
    Hotkeys hotkeys;
    EventTaps eventTaps;
    SyntheticKeys syntheticKeys{workspace, pasteboard};
    ProcessInfo processInfo;
    URLSession urlSession{runLoop};
    Cloud cloud{runLoop};
    Updates updates;
};

}  // namespace vellumix::headless
