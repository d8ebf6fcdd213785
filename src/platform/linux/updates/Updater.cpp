#include "platform/linux/updates/Updater.h"

#include <gnu/libc-version.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/desktop/Platform.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/loop/Log.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix::linux_desktop {

namespace {

constexpr Log updatesLog("Updates");

const Setting<std::optional<Date>> lastCheckSetting("settings.updates.lastCheckAt");
const Setting<std::optional<std::string>> skippedBuildSetting("settings.updates.skippedBuild");

constexpr std::string_view appImageEnding = ".AppImage";
/// Of what desktops have installers for. A release in any other form is never offered.
constexpr std::array packageEndings{appImageEnding, std::string_view(".deb"), std::string_view(".rpm"),
                                    std::string_view(".flatpak"), std::string_view(".pkg.tar.zst")};

std::optional<std::string_view> endingOf(const URL& url) {
    const auto path = url.path();
    const auto* const found =
        std::ranges::find_if(packageEndings, [&](std::string_view ending) { return path.ends_with(ending); });
    return found == packageEndings.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

struct Updater::Configuration {
    URL feed;
    ed25519::PublicKey key;
    VersionNumber build;

    static std::optional<Configuration> ofBuild() {
        const auto& bundle = platform::current().mainBundle;
        const auto feed = URL::parse(bundle.string("SUFeedURL").value_or(""));
        const auto key = ed25519::publicKeyOf(bundle.string("SUPublicEDKey").value_or(""));
        const auto build = VersionNumber::parse(bundle.string("CFBundleVersion").value_or(""));
        if (!feed || !key || !build) return std::nullopt;
        return Configuration{*feed, *key, *build};
    }
};

struct Updater::Feed {
    int statusCode = 0;
    Bytes content;
    std::unique_ptr<NSTimer> deadline;
    std::unique_ptr<URLSessionTask> task;
};

Updater::Updater(Options options) : options(std::move(options)) {}

Updater::~Updater() {
    // What it leaves to be done waits in the queue.
    transfer.reset();
}

bool Updater::startUpdater() {
    if (!options.makePrompt || !Configuration::ofBuild()) return false;
    // Of a start that was killed, or whose release has been installed.
    for (const auto ending : packageEndings)
        options.files.remove(options.folder + "/update" + std::string(ending));
    appImage = options.findAppImage();
    schedule(settlingTime);
    return true;
}

void Updater::schedule(double leastWait) {
    const auto now = RunLoop::main().now();
    const auto last = lastCheckSetting.get();
    // A last check that is still to come is of a clock that was wrong.
    const double rest = last && *last <= now ? *last + period - now : 0;
    timer = RunLoop::main().oneShotTimer(std::max(rest, leastWait), [this] {
        // While somebody is busy with it, tomorrow is soon enough.
        if (prompt || feed) return schedule(period);
        manner = Manner::unasked;
        check();
    });
}

void Updater::checkForUpdates() {
    if (!options.makePrompt) return;
    manner = Manner::asked;
    if (prompt) return prompt->raise();
    show(UpdatePrompt::Checking{});
    if (!feed) check();
}

void Updater::check() {
    const auto configuration = Configuration::ofBuild();
    if (!configuration) return conclude(localized("updates.failed.build"), "This build can't be updated");
    // Whatever comes of it: a server that is down isn't asked again and again.
    lastCheckSetting.set(RunLoop::main().now());
    if (timer) schedule(period);
    feed = std::make_unique<Feed>();
    feed->deadline = RunLoop::main().oneShotTimer(feedDeadline, [this] { feedEnded(URLError::timedOut); });
    feed->task = options.session.start(
        {.url = configuration->feed, .largestBody = appcast::largestFeed},
        {
            .onResponse = [this](const HTTPURLResponse& response) { feed->statusCode = response.statusCode; },
            .onData = [this](ByteView piece) { append(feed->content, piece); },
            .onEnd = [this](std::optional<URLError> error) { feedEnded(error); },
        });
}

void Updater::feedEnded(std::optional<URLError> error) {
    const auto ended = std::exchange(feed, nullptr);
    if (error) return fail(updateFailureOf(*error));
    constexpr int found = 200;
    const auto items = ended->statusCode == found ? appcast::read(ended->content) : std::nullopt;
    if (!items) return conclude(localized("updates.failed.feed"), "The feed of updates could not be read");
    choose(*items);
}

void Updater::choose(const std::vector<AppcastItem>& items) {
    const auto configuration = Configuration::ofBuild();
    const auto system = VersionNumber::parse(options.systemVersion);
    auto newest = configuration ? configuration->build : VersionNumber();
    bool isForNewerSystem = false;
    offered.reset();
    for (const auto& item : items) {
        if (item.build <= newest || !endingOf(item.url)) continue;
        if (item.minimumSystem && (!system || *item.minimumSystem > *system)) {
            isForNewerSystem = true;
            continue;
        }
        newest = item.build;
        offered = item;
    }
    const bool isAsked = manner == Manner::asked;
    const auto present = platform::current().mainBundle.string("CFBundleShortVersionString").value_or("");
    if (!offered) {
        return conclude(
            isForNewerSystem ? localized("updates.systemTooOld") : localized("updates.none", present),
            nullptr);
    }
    // Who asks sees it all the same.
    const auto skipped = VersionNumber::parse(skippedBuildSetting.get().value_or(""));
    if (!isAsked && skipped == offered->build) return finish();
    show(UpdatePrompt::Offer{offered->shortVersion, present, offered->notes});
}

void Updater::answered(Answer answer) {
    // Nothing is left to be broken off.
    if (isInstalling) return;
    if (answer == Answer::install && offered && !transfer) return download();
    if (answer == Answer::skip && offered) skippedBuildSetting.set(offered->build.text());
    finish();
}

void Updater::download() {
    const auto configuration = Configuration::ofBuild();
    if (!configuration) return finish();
    manner = Manner::asked;
    show(UpdatePrompt::Progress{offered->shortVersion, 0});
    if (!queue) queue = RunLoop::main().serialQueue("com.tarnwick.Vellumix.updates");
    transfer = std::make_unique<UpdateDownload>(
        options.session, options.files, *queue, *offered, configuration->key, downloadPath(offered->url),
        UpdateDownload::Handlers{
            .onProgress =
                [this](double fraction) {
                    show(UpdatePrompt::Progress{offered->shortVersion, fraction});
                },
            .onEnd =
                [this](std::optional<UpdateDownload::Failure> failure, Bytes content) {
                    if (failure) return fail(*failure);
                    install(std::make_shared<const Bytes>(std::move(content)));
                },
        });
}

void Updater::install(std::shared_ptr<const Bytes> content) {
    if (appImage && endingOf(offered->url) == appImageEnding) {
        isInstalling = true;
        auto replaced = lifetime.weakly([this](bool isReplaced) {
            isInstalling = false;
            if (!isReplaced) return conclude(localized("updates.failed.install"), nullptr);
            finish();
            options.relaunch(appImage->path());
        });
        queue->asyncAfter(0, [content = std::move(content), image = *appImage, replaced,
                              &files = options.files, &loop = RunLoop::main()] {
            loop.post(
                [replaced, isReplaced = image.replace(files, *content)]() mutable { replaced(isReplaced); });
        });
        return;
    }
    if (!options.sharing.openURL(URL::file(downloadPath(offered->url))))
        return conclude(localized("updates.failed.noInstaller"), nullptr);
    transfer->keep();
    conclude(localized("updates.handedOver", offered->shortVersion), nullptr);
}

void Updater::show(const UpdatePrompt::Stage& stage) {
    if (prompt) return prompt->show(stage);
    prompt = options.makePrompt(manner, stage, [this](Answer answer) { answered(answer); });
}

void Updater::conclude(const std::string& text, const char* line) {
    if (manner == Manner::unasked && line) updatesLog.error(line);
    if (manner == Manner::unasked) return finish();
    transfer.reset();
    offered.reset();
    show(UpdatePrompt::Message{text});
}

void Updater::fail(UpdateDownload::Failure failure) {
    using Failure = UpdateDownload::Failure;
    switch (failure) {
        case Failure::connection:
            return conclude(localized("updates.failed.connection"), "The server of updates gave no answer");
        case Failure::insecure:
            return conclude(localized("updates.failed.insecure"),
                            "The server of updates could not be trusted");
        case Failure::notAsAnnounced:
            return conclude(localized("updates.failed.notAsAnnounced"), "The feed of updates is too large");
        case Failure::noRoom:
            return conclude(localized("updates.failed.noRoom"), nullptr);
    }
}

void Updater::finish() {
    feed.reset();
    transfer.reset();
    offered.reset();
    prompt.reset();
}

std::string Updater::downloadPath(const URL& url) const {
    return options.folder + "/update" + std::string(endingOf(url).value_or(""));
}

std::string systemVersion() { return gnu_get_libc_version(); }

}  // namespace vellumix::linux_desktop
