#include "platform/foundation/files/KeptFile.h"

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

KeptFile::KeptFile(FileSystem& files, std::string path, const Nature& nature)
    : _files(files), _path(std::move(path)), _nature(nature), _log(nature.category) {}

std::optional<Bytes> KeptFile::read() {
    removeLeftovers(_files, _path);
    Bytes content;
    const auto error = _files.read(_path, _nature.sizeLimit, content);
    if (!error) return content;
    const bool isMissing = error == std::errc::no_such_file_or_directory;
    // A file that is there and can't be opened now may hold everything; replacing it needs no right to read
    // it.
    _isUnreadable = !isMissing;
    const std::string subject = "The " + std::string(_nature.name);
    if (!isMissing) _log.error(subject + " can't be read: " + error.message() + ": " + _path);
    // Perhaps a disk that isn't there at the moment.
    if (isMissing && _files.exists(_path)) _log.error(subject + " is a link that leads to nothing: " + _path);
    return std::nullopt;
}

bool KeptFile::makeRoom() {
    if (!_isUnreadable) return true;
    // Moved rather than copied, and before the first write rather than at start: a start alone changes
    // nothing, so that a keyring unlocked later still finds the history in its place.
    const auto aside = moveAside(_files, _path, RunLoop::main().now().iso8601(true));
    if (!aside) {
        noteFailure("the unreadable one in its place can't be moved aside");
        return false;
    }
    if (!aside->empty()) _log.error("The unreadable " + std::string(_nature.name) + " was kept as " + *aside);
    _isUnreadable = false;
    return true;
}

void KeptFile::write(const std::vector<ByteView>& parts) {
    std::size_t size = 0;
    for (const auto part : parts) size += part.size();
    if (size > _nature.sizeLimit)
        return noteFailure(std::make_error_code(std::errc::file_too_large).message());
    if (!makeRoom()) return;
    if (const auto error = writeAtomically(_files, _path, parts)) return noteFailure(error.message());
    if (_hasFailed.exchange(false)) _log.info("The " + std::string(_nature.name) + " is saved again");
}

void KeptFile::noteFailure(std::string_view reason) {
    if (_hasFailed.exchange(true)) return;
    _log.error("The " + std::string(_nature.name) + " can't be saved: " + std::string(reason) + ": " + _path);
}

}  // namespace vellumix
