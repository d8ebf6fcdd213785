#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/desktop/URLSession.h"
#include "platform/foundation/files/FileSystem.h"
#include "platform/foundation/loop/RunLoop.h"
#include "platform/foundation/memory/Lifetime.h"
#include "platform/linux/updates/Appcast.h"

namespace vellumix::linux_desktop {

/// The file of a release on its way from the network to a file of the user's alone, and the check that it is
/// the one that was announced and signed. Main thread only; what waits for the disk runs on the queue.
/// Destroying it ends the transfer and removes the file, unless it was kept.
class UpdateDownload {
public:
    enum class Failure { connection, insecure, notAsAnnounced, noRoom };
    struct Handlers {
        /// From 0 to 1.
        std::function<void(double fraction)> onProgress;
        /// Once, and never again: what went wrong, or the bytes that were checked. May destroy the download.
        std::function<void(std::optional<Failure> failure, Bytes content)> onEnd;
    };
    /// Of the whole transfer, however steadily it trickles; in seconds.
    static constexpr double deadline = 3600;

    /// Replaces a file of that path. Session, files and queue must outlive it.
    UpdateDownload(NSURLSession& session, FileSystem& files, SerialQueue& queue, const AppcastItem& item,
                   const ed25519::PublicKey& key, const std::string& path, Handlers handlers);
    ~UpdateDownload();
    UpdateDownload(const UpdateDownload&) = delete;
    UpdateDownload& operator=(const UpdateDownload&) = delete;

    /// The file stays when this goes.
    void keep() { isKept = true; }

private:
    struct File;

    void take(ByteView piece);
    void check();
    void end(std::optional<Failure> failure, Bytes content = {});

    SerialQueue& queue;
    const AppcastItem item;
    const ed25519::PublicKey key;
    Handlers handlers;
    std::shared_ptr<File> file;
    std::uint64_t received = 0;
    bool isKept = false;
    std::unique_ptr<URLSessionTask> task;
    std::unique_ptr<NSTimer> timer;
    Lifetime lifetime;
};

/// What an end of a transfer means for an update.
UpdateDownload::Failure updateFailureOf(URLError error);

}  // namespace vellumix::linux_desktop
