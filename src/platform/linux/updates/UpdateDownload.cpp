#include "platform/linux/updates/UpdateDownload.h"

#include <utility>

namespace vellumix::linux_desktop {

using Failure = UpdateDownload::Failure;

/// Used on the queue alone.
struct UpdateDownload::File {
    FileSystem& files;
    const std::string path;
    std::optional<FileSystem::Handle> handle;
    bool hasFailed = false;

    void open() {
        // Anything of the name is of a start before.
        files.remove(path);
        FileSystem::Handle opened{};
        hasFailed = files.makeFolder(folderOf(path)) || files.openNew(path, opened);
        if (!hasFailed) handle = opened;
    }
    void write(ByteView piece) {
        if (!hasFailed) hasFailed = static_cast<bool>(files.write(*handle, piece));
    }
    void close() {
        if (const auto open = std::exchange(handle, std::nullopt)) {
            if (files.close(*open)) hasFailed = true;
        }
    }
    void discard() {
        close();
        files.remove(path);
    }
    /// Looks at the file as it lies on the disk.
    std::pair<std::optional<Failure>, Bytes> check(const AppcastItem& item, const ed25519::PublicKey& key) {
        close();
        if (hasFailed) return {Failure::noRoom, {}};
        Bytes content;
        if (files.read(path, item.length, content)) return {Failure::noRoom, {}};
        if (content.size() != item.length || !ed25519::isSignedBy(key, content, item.signature))
            return {Failure::notAsAnnounced, {}};
        return {std::nullopt, std::move(content)};
    }
};

UpdateDownload::UpdateDownload(NSURLSession& session, FileSystem& files, SerialQueue& queue,
                               const AppcastItem& item, const ed25519::PublicKey& key,
                               const std::string& path, Handlers handlers)
    : queue(queue),
      item(item),
      key(key),
      handlers(std::move(handlers)),
      file(std::make_shared<File>(File{files, path, std::nullopt})) {
    queue.asyncAfter(0, [file = file] { file->open(); });
    timer = RunLoop::main().oneShotTimer(deadline, [this] { end(Failure::connection); });
    task = session.start(
        {.url = item.url, .largestBody = item.length},
        {
            .onResponse =
                [this](const HTTPURLResponse& response) {
                    constexpr int found = 200;
                    if (response.statusCode != found) end(Failure::connection);
                },
            .onData = [this](ByteView piece) { take(piece); },
            .onEnd =
                [this](std::optional<URLError> error) { error ? end(updateFailureOf(*error)) : check(); },
        });
}

UpdateDownload::~UpdateDownload() {
    queue.asyncAfter(0, [file = file, isKept = isKept] { isKept ? file->close() : file->discard(); });
}

void UpdateDownload::take(ByteView piece) {
    received += piece.size();
    // No more comes than the disk takes.
    task->suspend();
    auto written = lifetime.weakly([this](bool hasFailed) {
        if (hasFailed) return end(Failure::noRoom);
        task->resume();
    });
    queue.asyncAfter(0, [file = file, piece = Data(piece), written, &loop = RunLoop::main()] {
        file->write(piece);
        loop.post([written, hasFailed = file->hasFailed]() mutable { written(hasFailed); });
    });
    handlers.onProgress(static_cast<double>(received) / static_cast<double>(item.length));
}

void UpdateDownload::check() {
    task.reset();
    auto checked =
        lifetime.weakly([this](std::optional<Failure> failure, const std::shared_ptr<Bytes>& content) {
            end(failure, std::move(*content));
        });
    queue.asyncAfter(0, [file = file, item = item, key = key, checked, &loop = RunLoop::main()] {
        auto [failure, content] = file->check(item, key);
        const auto bytes = std::make_shared<Bytes>(std::move(content));
        loop.post([checked, failure = failure, bytes]() mutable { checked(failure, bytes); });
    });
}

void UpdateDownload::end(std::optional<Failure> failure, Bytes content) {
    task.reset();
    timer.reset();
    if (const auto told = std::exchange(handlers.onEnd, nullptr)) told(failure, std::move(content));
}

Failure updateFailureOf(URLError error) {
    switch (error) {
        case URLError::notAllowed:
        case URLError::secureConnectionFailed:
        case URLError::certificateUntrusted:
        case URLError::certificateExpired:
        case URLError::certificateForOtherHost:
        case URLError::redirectRefused:
            return Failure::insecure;
        case URLError::dataLengthExceedsMaximum:
            return Failure::notAsAnnounced;
        case URLError::cannotFindHost:
        case URLError::cannotConnectToHost:
        case URLError::timedOut:
        case URLError::connectionLost:
        case URLError::unavailable:
            break;
    }
    return Failure::connection;
}

}  // namespace vellumix::linux_desktop
