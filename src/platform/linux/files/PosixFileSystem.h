#pragma once

#include "platform/foundation/files/FileSystem.h"

namespace vellumix::linux_desktop {

/// The file operations by the system calls of POSIX.1-2017. A path whose last part is a symbolic link is
/// refused by everything that opens it but `read`.
class PosixFileSystem : public FileSystem {
public:
    std::error_code locate(const std::string& path, std::string& place) override;
    std::error_code read(const std::string& path, std::size_t limit, Bytes& content) override;
    std::error_code openForWriting(const std::string& path, Handle& handle) override;
    std::error_code openNew(const std::string& path, Handle& handle) override;
    std::error_code write(Handle handle, ByteView bytes) override;
    std::error_code sync(Handle handle) override;
    std::error_code close(Handle handle) override;
    std::error_code rename(const std::string& from, const std::string& to) override;
    std::error_code syncFolder(const std::string& path) override;
    std::error_code remove(const std::string& path) override;
    std::error_code makeFolder(const std::string& path) override;
    std::error_code makePrivate(const std::string& path, bool& wasOpen) override;
    bool exists(const std::string& path) override;
};

}  // namespace vellumix::linux_desktop
