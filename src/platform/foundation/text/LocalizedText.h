#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellumix {

/// One language's table of texts, from the resources that are built into the program.
class Bundle {
public:
    /// The best match for the desktop's preferred languages, English when none fits.
    static Bundle mainBundle();
    /// The bundle of a folder such as "pt-BR"; nothing when there is none.
    static std::optional<Bundle> withFolder(std::string_view folder);

    /// The text, or the key itself when the table has none, which is reported as missing.
    std::string localizedString(std::string_view key) const;
    const std::map<std::string, std::string, std::less<>>& table() const { return *table_; }

private:
    using Table = std::map<std::string, std::string, std::less<>>;
    explicit Bundle(const Table* table) : table_(table) {}

    const Table* table_;
};

/// What the program's texts are looked up in. One for the platform in force; main thread.
struct Localization {
    /// Locale names as the desktop gives them, best first, such as "pt_BR.UTF-8".
    std::vector<std::string> preferredLanguages;
    /// The folder that the user chose; absent follows the desktop.
    std::optional<std::string> folder;

    /// What texts are looked up in now.
    Bundle bundle() const;

    static Localization& current();
};

/// The text of a key in the chosen language. Looked up anew at each call. Main thread.
std::string localized(std::string_view key);
/// The same with another text, such as a path, in the place of its "%@".
std::string localized(std::string_view key, std::string_view argument);

}  // namespace vellumix
