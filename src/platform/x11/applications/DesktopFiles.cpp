#include "platform/x11/applications/DesktopFiles.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

namespace vellumix::x11 {

namespace {

constexpr std::string_view extension = ".desktop";
/// Classes that are remembered: a program can invent any number.
constexpr std::size_t classesKept = 256;
/// Bytes that are read of one file: what is looked for stands before the actions, and a line may be of any
/// length.
constexpr std::uintmax_t bytesRead = 256 * 1024;

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; });
    return text;
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string startupClassOf(const std::filesystem::path& file) {
    constexpr std::string_view key = "StartupWMClass=";
    std::error_code error;
    // A pipe would keep its reader waiting.
    if (!std::filesystem::is_regular_file(file, error)) return {};
    const auto size = std::filesystem::file_size(file, error);
    if (error) return {};
    std::string text(std::min(size, bytesRead), '\0');
    std::ifstream(file).read(text.data(), static_cast<std::streamsize>(text.size()));
    std::istringstream stream(std::move(text));
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(key)) return line.substr(key.size());
    }
    return {};
}

}  // namespace

std::vector<std::string> DesktopFiles::standardFolders() {
    auto home = variable("XDG_DATA_HOME");
    if (home.empty()) home = variable("HOME") + "/.local/share";
    auto others = variable("XDG_DATA_DIRS");
    if (others.empty()) others = "/usr/local/share:/usr/share";
    std::vector<std::string> folders;
    std::string_view rest = others;
    folders.push_back(home + "/applications");
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        if (end > 0) folders.push_back(std::string(rest.substr(0, end)) + "/applications");
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return folders;
}

std::optional<std::string> DesktopFiles::idForClass(const std::string& windowClass) {
    const auto known = this->known.find(windowClass);
    if (known != this->known.end()) return known->second;
    if (this->known.size() >= classesKept) this->known.clear();
    return this->known[windowClass] = find(windowClass);
}

std::optional<std::string> DesktopFiles::find(const std::string& windowClass) {
    if (windowClass.empty()) return std::nullopt;
    if (windowClass.find('/') == std::string::npos) {
        for (const auto& name : {windowClass, lowered(windowClass)}) {
            for (const auto& folder : folders) {
                std::error_code error;
                if (std::filesystem::exists(folder + "/" + name + std::string(extension), error)) return name;
            }
        }
    }
    readFolders();
    for (const auto* ids : {&idsByClass, &idsByName}) {
        const auto found = ids->find(lowered(windowClass));
        if (found != ids->end()) return found->second;
    }
    return std::nullopt;
}

void DesktopFiles::readFolders() {
    if (std::exchange(isRead, true)) return;
    for (const auto& folder : folders) {
        std::error_code error;
        std::filesystem::directory_iterator entries(folder, error);
        for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error)) {
            const auto& path = entries->path();
            if (path.extension() != extension) continue;
            const auto id = path.stem().string();
            idsByName.try_emplace(lowered(id), id);
            const auto startupClass = startupClassOf(path);
            if (!startupClass.empty()) idsByClass.try_emplace(lowered(startupClass), id);
        }
    }
}

}  // namespace vellumix::x11
