#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/Sharing.h"
#include "platform/desktop/URLSession.h"
#include "platform/desktop/Updater.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/linux/updates/AppImage.h"
#include "platform/linux/updates/UpdateDownload.h"

namespace vellumix::linux_desktop {

/// Finds a newer version in the feed of the main bundle, offers it, and installs it once a person has said
/// so: over the AppImage that the program runs from, or by the desktop's installer. Main thread only.
///
/// The feed is asked once a day, over all starts, and when a person asks. What is installed is newer by its
/// build number and signed with the key of the main bundle. How both are transferred is the session's rule:
/// over TLS, redirects included.
class Updater final : public SPUStandardUpdaterController, private SPUUpdater {
public:
    /// All must outlive the updater.
    struct Options {
        NSURLSession& session;
        FileSystem& files;
        SharingServices& sharing;
        UpdatePromptMaker makePrompt;
        /// For a release on its way, and for nothing else; made when there is one.
        std::string folder;
        /// What a release's least system is compared with.
        std::string systemVersion;
        std::function<std::optional<AppImage>()> findAppImage;
        /// Ends this process and starts that program in its place.
        std::function<void(const std::string& program)> relaunch;
    };
    /// Seconds between two checks that nobody asked for.
    static constexpr double period = 24.0 * 3600;
    /// From the start to the first of them: a session that begins has other things to do.
    static constexpr double settlingTime = 5;
    /// Of the feed; in seconds.
    static constexpr double feedDeadline = 60;

    explicit Updater(Options options);
    ~Updater() override;

    SPUUpdater& updater() override { return *this; }
    void checkForUpdates() override;

private:
    struct Configuration;
    struct Feed;
    using Manner = UpdatePrompt::Manner;
    using Answer = UpdatePrompt::Answer;

    bool startUpdater() override;
    void schedule(double leastWait);
    void check();
    void feedEnded(std::optional<URLError> error);
    void choose(const std::vector<AppcastItem>& items);
    void answered(Answer answer);
    void download();
    void install(std::shared_ptr<const Bytes> content);
    void show(const UpdatePrompt::Stage& stage);
    /// Where a person asked, a window says it; else the log, in `line`, or nothing.
    void conclude(const std::string& text, const char* line);
    void fail(UpdateDownload::Failure failure);
    void finish();
    std::string downloadPath(const URL& url) const;

    const Options options;
    Manner manner = Manner::unasked;
    std::unique_ptr<NSTimer> timer;
    std::unique_ptr<Feed> feed;
    std::optional<AppcastItem> offered;
    std::unique_ptr<UpdateDownload> transfer;
    std::unique_ptr<UpdatePrompt> prompt;
    std::optional<AppImage> appImage;
    bool isInstalling = false;
    /// Made for the first download. Behind all that uses it.
    std::unique_ptr<SerialQueue> queue;
    Lifetime lifetime;
};

/// Makes such updaters.
class UpdaterService final : public Updates {
public:
    explicit UpdaterService(Updater::Options options) : options(std::move(options)) {}

    std::unique_ptr<SPUStandardUpdaterController> initWithStartingUpdater(bool startingUpdater) override {
        auto controller = std::make_unique<Updater>(options);
        if (startingUpdater) controller->updater().startUpdater();
        return controller;
    }

private:
    const Updater::Options options;
};

/// The version of the C library. The least system of a release is told in it, as that is what a program for
/// Linux needs of a system: the numbers of distributions count different things, and some have none.
std::string systemVersion();

}  // namespace vellumix::linux_desktop
