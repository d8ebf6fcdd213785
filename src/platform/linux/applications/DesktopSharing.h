#pragma once

#include <optional>
#include <string>

#include "platform/desktop/Pasteboard.h"
#include "platform/desktop/Sharing.h"
#include "platform/foundation/files/FileSystem.h"
#include "platform/foundation/loop/RunLoop.h"

namespace vellumix::linux_desktop {

/// Sharing by the desktop's own programs: the default application of a content type or scheme (MIME
/// Applications Associations 1.0.1), and mail by a "mailto" address (RFC 6068). They are started without the
/// variables that concern this program alone. Copies are written on another thread.
class DesktopSharing final : public SharingServices {
public:
    /// Copies go to `folder`; without one to the user's folder for downloads, or else the home.
    DesktopSharing(RunLoop& runLoop, FileSystem& files, NSPasteboard& pasteboard,
                   std::optional<std::string> folder = std::nullopt);

    std::vector<Service> servicesFor(const std::vector<SharedItem>& items) const override;
    void perform(Service service, const std::vector<SharedItem>& items) override;
    bool openURL(const URL& url) override;

private:
    void sendByMail(const std::vector<SharedItem>& items);
    void saveCopies(const std::vector<SharedItem>& items);
    void copyPaths(const std::vector<SharedItem>& items);

    RunLoop& runLoop;
    FileSystem& files;
    NSPasteboard& pasteboard;
    const std::string folder;
};

/// The address that begins a message with that text; what goes beyond `mailBodyLimit` bytes is left out.
std::string mailAddress(std::string_view body);
/// Keeps the address below the size of an argument that Linux passes to a program (128 KB), every byte
/// encoded.
inline constexpr std::size_t mailBodyLimit = 32 * 1024;

}  // namespace vellumix::linux_desktop
