#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vellumix::x11 {

/// Finds the desktop file of a window class, for applications that don't name it themselves.
///
/// Reads the applications folders of $XDG_DATA_HOME and $XDG_DATA_DIRS (XDG Base Directory Specification 0.8)
/// once, when a class has no file of its own name; later questions cost a look-up. Main thread.
class DesktopFiles {
public:
    /// The folders that hold desktop files, best first.
    static std::vector<std::string> standardFolders();
    explicit DesktopFiles(std::vector<std::string> folders) : folders(std::move(folders)) {}

    /// The id, without ".desktop", of the file that has the class as its name or its StartupWMClass (Desktop
    /// Entry Specification 1.5), in any case of letters. Nothing when there is none.
    std::optional<std::string> idForClass(const std::string& windowClass);

private:
    std::optional<std::string> find(const std::string& windowClass);
    void readFolders();

    std::vector<std::string> folders;
    std::unordered_map<std::string, std::optional<std::string>> known;
    /// Ids by their StartupWMClass and by their own name, in lower case.
    std::unordered_map<std::string, std::string> idsByClass;
    std::unordered_map<std::string, std::string> idsByName;
    bool isRead = false;
};

}  // namespace vellumix::x11
