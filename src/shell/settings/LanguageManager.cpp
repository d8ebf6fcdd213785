#include "shell/settings/LanguageManager.h"

#include <iterator>

#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

namespace {

const Setting<AppLanguage, AsName<allAppLanguages>> languageSetting("settings.language", AppLanguage::system);

struct Row {
    std::string_view rawValue;
    std::string_view folder;
    std::string_view name;
};

constexpr Row rows[] = {
    {"system", "", ""},
    {"en", "en", "English"},
    {"ptBR", "pt-BR", "Português"},
    {"es", "es", "Español"},
};
static_assert(std::size(rows) == std::size(allAppLanguages));

const Row& row(AppLanguage language) { return rows[static_cast<std::size_t>(language)]; }

}  // namespace

std::string_view rawValue(AppLanguage language) { return row(language).rawValue; }

std::optional<std::string_view> resourceFolder(AppLanguage language) {
    if (language == AppLanguage::system) return std::nullopt;
    return row(language).folder;
}

std::string displayName(AppLanguage language) {
    return language == AppLanguage::system ? localized("settings.language.system")
                                           : std::string(row(language).name);
}

std::optional<std::string> chosenFolder(const PropertyDictionary& settings) {
    const auto found = settings.find(languageSetting.key());
    const auto* const stored = found == settings.end() ? nullptr : std::get_if<std::string>(&found->second);
    const auto language = stored ? AsName<allAppLanguages>::named(*stored) : std::nullopt;
    const auto folder = language ? resourceFolder(*language) : std::nullopt;
    return folder ? std::optional(std::string(*folder)) : std::nullopt;
}

LanguageManager& LanguageManager::shared() { return SharedInstances::current().get<LanguageManager>(); }

LanguageManager::LanguageManager()
    : currentLanguage(languageSetting), ownChange(currentLanguage.observe([this] { putInForce(); })) {
    putInForce();
}

void LanguageManager::putInForce() { Localization::current().folder = resourceFolder(currentLanguage.get()); }

Bundle LanguageManager::bundle() const { return Localization::current().bundle(); }

std::string localized(std::string_view key, std::int64_t number) {
    auto text = localized(key);
    constexpr std::string_view place = "%d";
    const auto at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), std::to_string(number));
    return text;
}

}  // namespace vellumix
