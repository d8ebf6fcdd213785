#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include "platform/foundation/files/FileSystem.h"

namespace vellumix::headless {

/// Files in memory, without links. Folders exist when made; "/" always does.
class MemoryFileSystem final : public FileSystem {
public:
    std::error_code locate(const std::string& path, std::string& place) override;
    std::error_code read(const std::string& path, std::size_t limit, Bytes& content) override;
    std::error_code openForWriting(const std::string& path, Handle& handle) override;
    std::error_code openNew(const std::string& path, Handle& handle) override;
    std::error_code write(Handle handle, ByteView bytes) override;
    std::error_code sync(Handle) override { return {}; }
    std::error_code close(Handle handle) override;
    std::error_code rename(const std::string& from, const std::string& to) override;
    std::error_code syncFolder(const std::string& path) override;
    std::error_code remove(const std::string& path) override;
    std::error_code makeFolder(const std::string& path) override;
    std::error_code makePrivate(const std::string&, bool& wasOpen) override {
        wasOpen = false;
        return {};
    }
    bool exists(const std::string& path) override { return files.contains(path) || folders.contains(path); }

    std::map<std::string, Bytes> files;
    std::set<std::string> folders{"/"};
    /// Bytes that can still be written; without it, any number.
    std::optional<std::size_t> room;

private:
    std::map<Handle, std::string> open;
    Handle nextHandle = 3;
};

}  // namespace vellumix::headless
