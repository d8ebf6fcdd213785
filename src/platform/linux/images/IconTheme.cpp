#include "platform/linux/images/IconTheme.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string_view>
#include <utility>

#include "platform/linux/loop/GLibHandles.h"

namespace vellumix::linux_desktop {

namespace {

constexpr auto lastTheme = "hicolor";
/// Far more than the longest line of ancestors.
constexpr std::size_t themesLimit = 32;
/// In bytes, of a theme's description; some twenty times the longest of those that desktops come with.
constexpr std::uintmax_t largestIndex = 1 << 20;
constexpr int largestSize = 4096;
constexpr int largestScale = 16;

std::vector<std::string> listOf(GKeyFile* file, const char* group, const char* key) {
    std::vector<std::string> list;
    const glib::TextList values(g_key_file_get_string_list(file, group, key, nullptr, nullptr));
    for (char** value = values.get(); value && *value; ++value) list.emplace_back(g_strstrip(*value));
    return list;
}

/// Nothing but numbers from 1 to the limit.
std::optional<int> numberOf(GKeyFile* file, const std::string& group, const char* key, int limit) {
    const int number = g_key_file_get_integer(file, group.c_str(), key, nullptr);
    return number >= 1 && number <= limit ? std::optional(number) : std::nullopt;
}

std::optional<IconTheme::File> firstOf(std::span<const std::string> folders, const std::string& name,
                                       std::span<const std::string> formats) {
    for (const auto& folder : folders) {
        for (const auto& format : formats) {
            auto path = folder;
            path.append("/").append(name).append(".").append(format);
            if (g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR))
                return IconTheme::File{.path = std::move(path), .format = format};
        }
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::string> IconTheme::standardFolders() {
    std::vector<std::string> folders{std::string(g_get_user_data_dir()) + "/icons",
                                     std::string(g_get_home_dir()) + "/.icons"};
    for (const auto* data = g_get_system_data_dirs(); *data; ++data)
        folders.push_back(std::string(*data) + "/icons");
    folders.emplace_back("/usr/share/pixmaps");
    return folders;
}

IconTheme::IconTheme(std::vector<std::string> folders, const std::vector<std::string>& names)
    : folders(std::move(folders)) {
    for (const auto& name : names) load(name);
    const auto last = std::ranges::find(themes, lastTheme, &Theme::name);
    if (last == themes.end())
        load(lastTheme);
    else
        std::rotate(last, last + 1, themes.end());
}

void IconTheme::load(const std::string& name) {
    const bool isName = !name.empty() && name.find('/') == std::string::npos && name != "." && name != "..";
    if (!isName || themes.size() >= themesLimit) return;
    if (std::ranges::find(themes, name, &Theme::name) != themes.end()) return;
    Theme theme{.name = name};
    glib::KeyFile description;
    for (const auto& folder : folders) {
        const auto own = folder + '/' + name;
        if (!g_file_test(own.c_str(), G_FILE_TEST_IS_DIR)) continue;
        theme.folders.push_back(own);
        const auto index = own + "/index.theme";
        if (description || !g_file_test(index.c_str(), G_FILE_TEST_IS_REGULAR)) continue;
        std::error_code error;
        const auto size = std::filesystem::file_size(index, error);
        if (error || size > largestIndex) continue;
        description.reset(g_key_file_new());
        g_key_file_set_list_separator(description.get(), ',');
        g_key_file_load_from_file(description.get(), index.c_str(), G_KEY_FILE_NONE, nullptr);
    }
    if (!description) return;
    auto* const file = description.get();
    for (const auto* key : {"Directories", "ScaledDirectories"}) {
        for (auto& directory : listOf(file, "Icon Theme", key)) {
            const auto size = numberOf(file, directory, "Size", largestSize);
            if (!size) continue;
            const int scale = numberOf(file, directory, "Scale", largestScale).value_or(1);
            const glib::Text type(g_key_file_get_string(file, directory.c_str(), "Type", nullptr));
            const std::string_view kind = type ? type.get() : "Threshold";
            int least = *size, most = *size;
            if (kind == "Scalable") {
                least = numberOf(file, directory, "MinSize", largestSize).value_or(least);
                most = numberOf(file, directory, "MaxSize", largestSize).value_or(most);
            } else if (kind == "Threshold") {
                const int threshold = numberOf(file, directory, "Threshold", largestSize).value_or(2);
                least -= threshold;
                most += threshold;
            }
            theme.directories.push_back({.name = std::move(directory),
                                         .least = least * scale,
                                         .most = most * scale,
                                         .isScaled = scale != 1});
        }
    }
    themes.push_back(std::move(theme));
    for (const auto& parent : listOf(file, "Icon Theme", "Inherits")) load(parent);
}

std::optional<IconTheme::File> IconTheme::find(std::span<const std::string> names, int pixels,
                                               std::span<const std::string> formats) const {
    for (const auto& theme : themes) {
        for (const auto& name : names) {
            if (auto file = findIn(theme, name, pixels, formats)) return file;
        }
    }
    for (const auto& name : names) {
        if (auto file = firstOf(folders, name, formats)) return file;
    }
    return std::nullopt;
}

std::optional<IconTheme::File> IconTheme::findIn(const Theme& theme, const std::string& name, int pixels,
                                                 std::span<const std::string> formats) {
    std::optional<File> nearest;
    int leastDistance = std::numeric_limits<int>::max();
    for (const auto& directory : theme.directories) {
        const int distance = directory.distance(pixels);
        const bool isExact = distance == 0 && !directory.isScaled;
        if (!isExact && distance >= leastDistance) continue;
        auto file = firstOf(theme.folders, directory.name + '/' + name, formats);
        if (!file) continue;
        if (isExact) return file;
        nearest = std::move(file);
        leastDistance = distance;
    }
    return nearest;
}

int IconTheme::Directory::distance(int pixels) const { return std::max({least - pixels, pixels - most, 0}); }

}  // namespace vellumix::linux_desktop
