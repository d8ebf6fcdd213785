#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/files/FileSystem.h"
#include "platform/foundation/loop/Log.h"

namespace vellumix {

/// A file of the program's own as bytes: read once, at the start, and replaced whole from then on. One that
/// can't be read is never written over, and what goes wrong is said in the log.
///
/// After the read it is written on one queue alone; `hasFailed` is for any thread.
class KeptFile {
public:
    struct Nature {
        /// The category of the log's lines: a literal.
        std::string_view category;
        /// What the lines call it, as in "The history can't be read": a literal.
        std::string_view name;
        /// In bytes. A larger file is neither read nor written.
        std::size_t sizeLimit;
    };

    KeptFile(FileSystem& files, std::string path, const Nature& nature);

    /// The whole file; nothing when it is missing or can't be read. Clears away what a killed write left
    /// behind.
    std::optional<Bytes> read();
    /// What was read turned out to be of no use. The first write moves it aside, to
    /// "<stem>.unreadable-<time>.<extension>", and says so; where it can't be moved, nothing is written.
    void markUnreadable() { isUnreadable = true; }
    /// Replaces the content atomically. On a failure the file keeps what it held; the first of them is said
    /// in the log, and so is the write that makes it good.
    void write(const std::vector<ByteView>& parts);
    /// A write that couldn't be begun: told like one that failed.
    void noteFailure(std::string_view reason);
    /// Whether the last write failed: the file isn't what the program last wanted it to be.
    bool hasFailed() const { return hasFailed_; }

private:
    bool makeRoom();

    FileSystem& files;
    const std::string path;
    const Nature nature;
    const Log log;
    bool isUnreadable = false;
    std::atomic<bool> hasFailed_ = false;
};

}  // namespace vellumix
