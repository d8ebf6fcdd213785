#pragma once

#include <string>
#include <vector>

#include "platform/foundation/FileSystem.h"

namespace vellumix {

/// The file of the history as bytes: read once, replaced whole. An unreadable one is never written over.
///
/// After the read it is touched on the save queue alone.
class HistoryFile {
public:
    HistoryFile(FileSystem& files, std::string path);

    /// The whole file; empty when it is missing, empty, larger than `bounds::historyFile`, or can't be read.
    /// Clears away what a killed write left behind.
    Bytes read();
    /// What was read turned out to be of no use. The first write moves it aside, to
    /// "history.unreadable-<time>.json", and says so in the log; where it can't be moved, nothing is written.
    void markUnreadable() { _isUnreadable = true; }
    /// Replaces the content atomically; a failure is silent, and the file keeps what it held.
    void write(const std::vector<ByteView>& parts);

private:
    bool makeRoom();

    FileSystem& _files;
    const std::string _path;
    bool _isUnreadable = false;
    bool _saidThatItIsHeldBack = false;
};

}  // namespace vellumix
