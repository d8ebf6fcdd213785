#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellumix::linux_desktop {

/// The files of a desktop's icons, by the Icon Theme Specification of freedesktop.org, version 0.13. Main
/// thread; blocking.
///
/// GIO names icons and looks none up; the libraries that do are whole toolkits, which would cost several
/// times the memory of this program.
class IconTheme {
public:
    struct File {
        std::string path;
        /// "png" or "svg".
        std::string format;
    };

    /// The folders that hold themes, best first ("Directory Layout").
    static std::vector<std::string> standardFolders();

    /// Reads the descriptions of the themes, best first, of those that they inherit, and of "hicolor" in the
    /// end. Themes that aren't there count as empty.
    IconTheme(std::vector<std::string> folders, const std::vector<std::string>& names);

    /// For names from the most to the least fitting, the nearest size of the first that the best theme has
    /// ("Icon Lookup", FindBestIcon). `pixels` is a side, at a scale of 1; formats are tried in their order.
    std::optional<File> find(std::span<const std::string> names, int pixels,
                             std::span<const std::string> formats) const;

private:
    /// A folder of one size. The sides that it serves, in pixels.
    struct Directory {
        std::string name;
        int least = 0;
        int most = 0;
        bool isScaled = false;

        int distance(int pixels) const;
    };
    struct Theme {
        std::string name;
        /// Where it has files.
        std::vector<std::string> folders;
        std::vector<Directory> directories;
    };

    void load(const std::string& name);
    static std::optional<File> findIn(const Theme& theme, const std::string& name, int pixels,
                                      std::span<const std::string> formats);

    std::vector<std::string> folders;
    std::vector<Theme> themes;
};

}  // namespace vellumix::linux_desktop
