#include "platform/linux/trash/TrashInfo.h"

#include "platform/foundation/coding/URL.h"

namespace vellumix::linux_desktop {

namespace {

bool isDate(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00";
    if (text.size() != form.size()) return false;
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool isRight = form[at] == '0' ? text[at] >= '0' && text[at] <= '9' : text[at] == form[at];
        if (!isRight) return false;
    }
    return true;
}

bool canBePath(const std::string& path) {
    return !path.empty() && path.find('\0') == std::string::npos &&
           ('/' + path + '/').find("/../") == std::string::npos;
}

}  // namespace

std::optional<TrashInfo> TrashInfo::parse(std::string_view text) {
    constexpr std::string_view group = "[Trash Info]", pathKey = "Path=", dateKey = "DeletionDate=";
    std::optional<std::string_view> path, date;
    for (bool isFirst = true; !text.empty(); isFirst = false) {
        const auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() + (line.size() < text.size()));
        if (isFirst && line != group) return std::nullopt;
        // Of several the first counts, and other lines don't.
        if (!path && line.starts_with(pathKey)) path = line.substr(pathKey.size());
        if (!date && line.starts_with(dateKey)) date = line.substr(dateKey.size());
    }
    auto decoded = path ? percentDecoded(*path) : std::nullopt;
    if (!decoded || !canBePath(*decoded)) return std::nullopt;
    return TrashInfo{.path = std::move(*decoded),
                     .deletionDate = std::string(date && isDate(*date) ? *date : std::string_view())};
}

}  // namespace vellumix::linux_desktop
