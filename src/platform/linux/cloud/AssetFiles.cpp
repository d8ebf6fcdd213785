#include "platform/linux/cloud/AssetFiles.h"

#include <filesystem>
#include <utility>
#include <vector>

#include "platform/foundation/cipher/UUID.h"

namespace vellumix::linux_desktop {

namespace {

constexpr std::string_view namesBegin = "asset-";

}  // namespace

void AssetFiles::removeLeftovers() {
    std::vector<std::string> left;
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder_, error), end; !error && each != end;
         each.increment(error)) {
        if (each->path().filename().native().starts_with(namesBegin)) left.push_back(each->path());
    }
    for (const auto& path : left) files.remove(path);
}

std::shared_ptr<AssetFiles::File> AssetFiles::makeFile() {
    const auto path = folder_ + "/" + std::string(namesBegin) + UUID::random().uuidString();
    FileSystem::Handle handle{};
    if (files.makeFolder(folder_) || files.openNew(path, handle)) return nullptr;
    return std::make_shared<File>(files, path, handle);
}

AssetFiles::File::File(FileSystem& files, std::string path, FileSystem::Handle handle)
    : files(files), path_(std::move(path)), handle(handle) {}

AssetFiles::File::~File() {
    close();
    files.remove(path_);
}

bool AssetFiles::File::write(ByteView bytes) {
    size_ += bytes.size();
    return !files.write(handle, bytes);
}

bool AssetFiles::File::close() { return !std::exchange(isOpen, false) || !files.close(handle); }

}  // namespace vellumix::linux_desktop
