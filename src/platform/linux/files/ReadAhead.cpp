#include "platform/linux/files/ReadAhead.h"

#include <utility>

namespace vellumix::linux_desktop {

void ReadAhead::begin(const std::string& path, std::size_t limit) {
    auto read = [this, path, limit] {
        Bytes content;
        const auto error = PosixFileSystem::read(path, limit, content);
        return std::pair(error, std::move(content));
    };
    reading = Reading{path, limit, std::async(std::launch::async, std::move(read))};
}

std::error_code ReadAhead::read(const std::string& path, std::size_t limit, Bytes& content) {
    if (!reading || reading->path != path || reading->limit != limit)
        return PosixFileSystem::read(path, limit, content);
    auto [error, bytes] = reading->result.get();
    reading.reset();
    content = std::move(bytes);
    return error;
}

}  // namespace vellumix::linux_desktop
