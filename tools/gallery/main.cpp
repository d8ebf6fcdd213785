#include <cstdio>
#include <filesystem>
#include <system_error>

#include "gallery/Gallery.h"
#include "gallery/GallerySamples.h"
#include "platform/headless/Desktop.h"

using namespace vellumix;

int main(int count, char** words) {
    if (count != 2) {
        std::fprintf(stderr,
                     "gallery FOLDER: paints every view in every state into PNG files in the folder.\n");
        return 2;
    }
    headless::Desktop desktop;
    SampleImageDecoder images;
    SampleFileIcons icons;
    auto platform = desktop.platform();
    platform.imageDecoder = &images;
    platform.fileIcons = &icons;
    const platform::Scope scope(std::move(platform));
    std::error_code cause;
    std::filesystem::create_directories(words[1], cause);
    if (!cause && paintGallery(words[1])) return 0;
    std::fprintf(stderr, "gallery: the pictures could not be written into %s\n", words[1]);
    return 1;
}
