// Feeds every file of a corpus to the fuzzer it is linked with, whole and cut at every length up to a limit.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int main(int count, char** words) {
    if (count != 2) return 2;
    constexpr std::size_t longestCut = 512;
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(words[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<char> content(std::istreambuf_iterator<char>(file), {});
        const auto feed = [&](std::size_t size) {
            // A copy of just that size, so that a sanitizer sees a read beyond it.
            const std::vector<std::uint8_t> part(content.begin(),
                                                 content.begin() + static_cast<std::ptrdiff_t>(size));
            LLVMFuzzerTestOneInput(part.data(), part.size());
        };
        for (std::size_t size = 0; size < std::min(content.size(), longestCut); ++size) feed(size);
        feed(content.size());
        ++files;
    }
    std::printf("%d files replayed\n", files);
    return files > 0 ? 0 : 1;
}
