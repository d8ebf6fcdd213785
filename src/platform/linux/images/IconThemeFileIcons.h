#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/desktop/FileIcons.h"
#include "platform/foundation/memory/Cache.h"
#include "platform/linux/images/FolderLookup.h"
#include "platform/linux/images/IconTheme.h"

namespace vellumix::linux_desktop {

/// The icons of the desktop's theme, by content types of the shared MIME database (freedesktop.org, Shared
/// MIME-info Database 0.21) as far as names tell them. Files aren't opened.
///
/// Whether a path is a folder is learnt without waiting: until then its icon is that of a file, and the view
/// that asked is evaluated again.
class IconThemeFileIcons final : public FileIcons {
public:
    struct Sources {
        /// What the desktop says that its theme is, asked anew each time. Behind it comes "Adwaita".
        std::function<std::optional<std::string>()> themeName = [] { return std::nullopt; };
        /// That hold themes, best first.
        std::vector<std::string> folders = IconTheme::standardFolders();
    };

    /// The run loop must outlive this.
    IconThemeFileIcons(RunLoop& runLoop, Sources sources);

    std::shared_ptr<const Bitmap> iconForFile(const URL& file, int pixels) override;

    static constexpr int largestSide = 512;

private:
    struct Known {
        /// Null where the theme has none.
        std::shared_ptr<const Bitmap> icon;
    };

    const IconTheme& theme();

    const Sources sources;
    FolderLookup folders;
    std::string themeName;
    std::optional<IconTheme> theme_;
    /// By theme, content type and side.
    NSCache<Known> known;
};

}  // namespace vellumix::linux_desktop
