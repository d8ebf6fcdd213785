#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/coding/PropertyList.h"
#include "platform/foundation/files/Setting.h"
#include "platform/foundation/text/LocalizedText.h"

namespace vellumix {

enum class AppLanguage { system, en, ptBR, es };

/// Every choice, in the order in which they are offered.
inline constexpr AppLanguage allAppLanguages[] = {AppLanguage::system, AppLanguage::en, AppLanguage::ptBR,
                                                  AppLanguage::es};

/// As it is stored: "system", "en", "ptBR", "es".
std::string_view rawValue(AppLanguage language);
/// The folder of the language's table, such as "pt-BR"; nothing for `system`, which follows the desktop.
std::optional<std::string_view> resourceFolder(AppLanguage language);
/// The name by which the language is offered: its own, whatever language is chosen; that of `system` in the
/// chosen language.
std::string displayName(AppLanguage language);

/// The folder of the language that settings hold as chosen; nothing where they follow the desktop.
std::optional<std::string> chosenFolder(const PropertyDictionary& settings);

/// The language of the program's texts, chosen by the user and kept in the user defaults. Main thread only.
class LanguageManager {
public:
    static LanguageManager& shared();

    /// Reads the stored choice, `system` when there is none or another word, and puts it in force.
    LanguageManager();

    /// Setting it stores it and puts it in force before any other observer hears of it: every `localized`
    /// from then on answers in that language.
    PublishedSetting<AppLanguage, AsName<allAppLanguages>> currentLanguage;

    /// What texts are looked up in.
    Bundle bundle() const;

private:
    void putInForce();

    Observation ownChange;
};

/// The text of a key with the number in the place of its "%d". Main thread.
std::string localized(std::string_view key, std::int64_t number);

}  // namespace vellumix
