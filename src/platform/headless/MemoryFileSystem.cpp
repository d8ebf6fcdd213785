#include "platform/headless/MemoryFileSystem.h"

#include "platform/foundation/promises/Describing.h"

namespace vellumix::headless {

namespace {
std::error_code failure(std::errc code) { return std::make_error_code(code); }
}  // namespace

std::error_code MemoryFileSystem::locate(const std::string& path, std::string& place) {
    assertNotDescribing("a file was located");
    place = path;
    return {};
}

std::error_code MemoryFileSystem::read(const std::string& path, std::size_t limit, Bytes& content) {
    assertNotDescribing("a file was read");
    content.clear();
    if (folders.contains(path)) return failure(std::errc::is_a_directory);
    const auto found = files.find(path);
    if (found == files.end()) return failure(std::errc::no_such_file_or_directory);
    if (found->second.size() > limit) return failure(std::errc::file_too_large);
    content = bytesOf(found->second);
    return {};
}

std::error_code MemoryFileSystem::openForWriting(const std::string& path, Handle& handle) {
    assertNotDescribing("a file was opened");
    if (!folders.contains(folderOf(path))) return failure(std::errc::no_such_file_or_directory);
    if (folders.contains(path)) return failure(std::errc::is_a_directory);
    files[path].clear();
    handle = nextHandle++;
    open[handle] = path;
    return {};
}

std::error_code MemoryFileSystem::openNew(const std::string& path, Handle& handle) {
    assertNotDescribing("a file was opened");
    if (exists(path)) return failure(std::errc::file_exists);
    return openForWriting(path, handle);
}

std::error_code MemoryFileSystem::write(Handle handle, ByteView bytes) {
    const auto found = open.find(handle);
    if (found == open.end()) return failure(std::errc::bad_file_descriptor);
    if (room && bytes.size() > *room) return failure(std::errc::no_space_on_device);
    if (room) *room -= bytes.size();
    append(files[found->second], bytes);
    return {};
}

std::error_code MemoryFileSystem::close(Handle handle) {
    return open.erase(handle) ? std::error_code() : failure(std::errc::bad_file_descriptor);
}

std::error_code MemoryFileSystem::rename(const std::string& from, const std::string& to) {
    assertNotDescribing("a file was renamed");
    auto file = files.extract(from);
    if (!file) return failure(std::errc::no_such_file_or_directory);
    files.insert_or_assign(to, std::move(file.mapped()));
    return {};
}

std::error_code MemoryFileSystem::syncFolder(const std::string& path) {
    return folders.contains(path) ? std::error_code() : failure(std::errc::no_such_file_or_directory);
}

std::error_code MemoryFileSystem::remove(const std::string& path) {
    assertNotDescribing("a file was removed");
    return files.erase(path) ? std::error_code() : failure(std::errc::no_such_file_or_directory);
}

std::error_code MemoryFileSystem::makeFolder(const std::string& path) {
    assertNotDescribing("a file was made");
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const auto folder = path.substr(0, end);
        if (files.contains(folder)) return failure(std::errc::not_a_directory);
        folders.insert(folder);
    }
    return {};
}

}  // namespace vellumix::headless
