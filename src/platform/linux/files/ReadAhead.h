#pragma once

#include <future>
#include <optional>

#include "platform/linux/files/PosixFileSystem.h"

namespace vellumix::linux_desktop {

/// The file system of a program that knows early which file it will need: it comes from the disk while the
/// display is being opened.
class ReadAhead final : public PosixFileSystem {
public:
    /// Begins to read the file on a thread of its own. The next `read` of it, if it is with the same limit,
    /// answers with what the file held then.
    void begin(const std::string& path, std::size_t limit);

    std::error_code read(const std::string& path, std::size_t limit, Bytes& content) override;

private:
    struct Reading {
        std::string path;
        std::size_t limit;
        std::future<std::pair<std::error_code, Bytes>> result;
    };
    std::optional<Reading> reading;
};

}  // namespace vellumix::linux_desktop
