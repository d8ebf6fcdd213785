#include "core/HistoryFile.h"

#include "core/HistoryBounds.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/RunLoop.h"

namespace vellumix {

namespace {
constexpr Log log("Store");
}

HistoryFile::HistoryFile(FileSystem& files, std::string path) : _files(files), _path(std::move(path)) {}

Bytes HistoryFile::read() {
    removeLeftovers(_files, _path);
    Bytes content;
    const auto error = _files.read(_path, bounds::historyFile, content);
    if (error) content.clear();
    // A file that is there and can't be opened now may hold everything; replacing it needs no right to read
    // it.
    _isUnreadable = error && error != std::errc::no_such_file_or_directory;
    return content;
}

bool HistoryFile::makeRoom() {
    if (!_isUnreadable) return true;
    // Moved rather than copied, and before the first write rather than at start: a start alone changes
    // nothing, so that a keyring unlocked later still finds the history in its place.
    const auto aside = moveAside(_files, _path, RunLoop::main().now().iso8601(true));
    if (!aside) {
        if (!_saidThatItIsHeldBack)
            log.error("The unreadable history can't be moved aside, so nothing is saved over it: " + _path);
        _saidThatItIsHeldBack = true;
        return false;
    }
    if (!aside->empty()) log.error("The unreadable history was kept as " + *aside);
    _isUnreadable = false;
    return true;
}

void HistoryFile::write(const std::vector<ByteView>& parts) {
    if (makeRoom()) writeAtomically(_files, _path, parts);
}

}  // namespace vellumix
