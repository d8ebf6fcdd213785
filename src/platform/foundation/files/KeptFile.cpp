#include "platform/foundation/files/KeptFile.h"

#include "platform/foundation/loop/RunLoop.h"

namespace vellumix {

KeptFile::KeptFile(FileSystem& files, std::string path, const Nature& nature)
    : files(files), path(std::move(path)), nature(nature), log(nature.category) {}

std::optional<Bytes> KeptFile::read() {
    removeLeftovers(files, path);
    Bytes content;
    const auto error = files.read(path, nature.sizeLimit, content);
    if (!error) return content;
    const bool isMissing = error == std::errc::no_such_file_or_directory;
    // A file that is there and can't be opened now may hold everything; replacing it needs no right to read
    // it.
    isUnreadable = !isMissing;
    const std::string subject = "The " + std::string(nature.name);
    if (!isMissing) log.error(subject + " can't be read: " + error.message() + ": " + path);
    // Perhaps a disk that isn't there at the moment.
    if (isMissing && files.exists(path)) log.error(subject + " is a link that leads to nothing: " + path);
    return std::nullopt;
}

bool KeptFile::makeRoom() {
    if (!isUnreadable) return true;
    // Moved rather than copied, and before the first write rather than at start: a start alone changes
    // nothing, so that a keyring unlocked later still finds the history in its place.
    const auto aside = moveAside(files, path, RunLoop::main().now().iso8601(true));
    if (!aside) {
        noteFailure("the unreadable one in its place can't be moved aside");
        return false;
    }
    if (!aside->empty()) log.error("The unreadable " + std::string(nature.name) + " was kept as " + *aside);
    isUnreadable = false;
    return true;
}

void KeptFile::write(const std::vector<ByteView>& parts) {
    std::size_t size = 0;
    for (const auto part : parts) size += part.size();
    if (size > nature.sizeLimit)
        return noteFailure(std::make_error_code(std::errc::file_too_large).message());
    if (!makeRoom()) return;
    if (const auto error = writeAtomically(files, path, parts)) return noteFailure(error.message());
    if (hasFailed_.exchange(false)) log.info("The " + std::string(nature.name) + " is saved again");
}

void KeptFile::noteFailure(std::string_view reason) {
    if (hasFailed_.exchange(true)) return;
    log.error("The " + std::string(nature.name) + " can't be saved: " + std::string(reason) + ": " + path);
}

}  // namespace vellumix
