#pragma once

#include <memory>
#include <string>
#include <utility>

#include "platform/desktop/CloudKit.h"
#include "platform/foundation/files/FileSystem.h"

namespace vellumix::linux_desktop {

/// The files of attachments, each for its owner alone, in a folder of the user's that nobody else can look
/// into. Main thread.
class AssetFiles {
public:
    /// `files` must outlive the assets.
    AssetFiles(FileSystem& files, std::string folder) : files(files), folder_(std::move(folder)) {}

    /// Removes what a process that was killed has left. Only where no other process uses the folder.
    void removeLeftovers();

    /// A file that is being written; it goes with this and with every asset made of it.
    class File {
    public:
        File(FileSystem& files, std::string path, FileSystem::Handle handle);
        ~File();
        File(const File&) = delete;
        File& operator=(const File&) = delete;

        bool write(ByteView bytes);
        /// False when something that was written has been lost.
        bool close();
        std::uint64_t size() const { return size_; }
        const std::string& path() const { return path_; }

    private:
        FileSystem& files;
        const std::string path_;
        FileSystem::Handle handle;
        bool isOpen = true;
        std::uint64_t size_ = 0;
    };

    /// Null where none can be made.
    std::shared_ptr<File> makeFile();
    static CKAsset assetOf(const std::shared_ptr<File>& file) {
        return {.fileURL = URL::file(file->path()), .file = file};
    }
    const std::string& folder() const { return folder_; }

private:
    FileSystem& files;
    const std::string folder_;
};

}  // namespace vellumix::linux_desktop
