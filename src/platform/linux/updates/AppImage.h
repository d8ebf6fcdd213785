#pragma once

#include <optional>
#include <string>

#include "platform/foundation/files/FileSystem.h"
#include "platform/linux/files/Paths.h"

namespace vellumix::linux_desktop {

/// The AppImage (draft of the AppImage specification, type 2) that this process runs from.
class AppImage {
public:
    /// Taken from APPIMAGE and APPDIR, which its runtime sets. As every process below inherits them, also one
    /// that only was started from a terminal in an AppImage, they count only where `executable` lies in the
    /// folder that they name; and the file must be an AppImage, no link, and the user's own.
    static std::optional<AppImage> running(FileSystem& files, const Paths::Environment& environment,
                                           const std::string& executable);
    /// This process.
    static std::optional<AppImage> running(FileSystem& files);

    const std::string& path() const { return path_; }
    /// Replaces the file so that the old or the new one is there, whole, whatever happens; it can be executed
    /// by whoever could execute the old one. False where nothing was replaced. Blocking; any thread.
    bool replace(FileSystem& files, ByteView content) const;

private:
    explicit AppImage(std::string path) : path_(std::move(path)) {}

    std::string path_;
};

}  // namespace vellumix::linux_desktop
