#include "shell/settings/LanguageManager.h"

#include "platform/foundation/files/UserDefaults.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/settings/RelativeTimestamp.h"
#include "support/HeadlessTest.h"

namespace vellumix {
namespace {

class LanguageManagerTest : public HeadlessTest {};

TEST_F(LanguageManagerTest, OnlyItsOwnWordsAreRead) {
    const struct {
        const char* stored;
        AppLanguage language;
    } cases[] = {
        {"en", AppLanguage::en},         {"ptBR", AppLanguage::ptBR},    {"es", AppLanguage::es},
        {"system", AppLanguage::system}, {"pt-BR", AppLanguage::system}, {"fr", AppLanguage::system},
        {"", AppLanguage::system},
    };
    EXPECT_EQ(LanguageManager().currentLanguage.get(), AppLanguage::system) << "nothing is stored";
    for (const auto& each : cases) {
        UserDefaults::standard().set("settings.language", each.stored);
        EXPECT_EQ(LanguageManager().currentLanguage.get(), each.language) << each.stored;
    }
}

TEST_F(LanguageManagerTest, AChoiceIsInForceBeforeAnyoneHearsOfIt) {
    Localization::current().preferredLanguages = {"es_MX.UTF-8"};
    auto& manager = LanguageManager::shared();
    EXPECT_EQ(localized("delete"), "Eliminar") << "the desktop's language";

    std::string seen;
    const auto observation = manager.currentLanguage.observe([&] { seen = localized("delete"); });
    const struct {
        AppLanguage language;
        const char* stored;
        const char* text;
        const char* system;
    } cases[] = {
        {AppLanguage::ptBR, "ptBR", "Excluir", "Idioma do sistema"},
        {AppLanguage::en, "en", "Delete", "System Language"},
        {AppLanguage::es, "es", "Eliminar", "Idioma del sistema"},
        {AppLanguage::system, "system", "Eliminar", "Idioma del sistema"},
    };
    for (const auto& each : cases) {
        manager.currentLanguage.set(each.language);
        EXPECT_EQ(seen, each.text);
        EXPECT_EQ(UserDefaults::standard().value<std::string>("settings.language"), each.stored);
        EXPECT_EQ(displayName(AppLanguage::system), each.system);
        EXPECT_EQ(displayName(AppLanguage::ptBR), "Português");
    }
    for (const auto language : allAppLanguages) {
        const auto folder = resourceFolder(language);
        EXPECT_TRUE(!folder || Bundle::withFolder(*folder)) << rawValue(language) << " has no table";
    }
    Localization::current().folder = "no such folder";
    EXPECT_EQ(localized("delete"), "Eliminar") << "a missing folder falls back to the desktop's language";
}

TEST_F(LanguageManagerTest, AnAgeIsCutToWholeUnits) {
    const Date now = desktop.runLoop.now();
    const struct {
        double age;
        const char* english;
        const char* portuguese;
        const char* spanish;
    } cases[] = {
        {-5, "Just now", "Agora mesmo", "Ahora mismo"},
        {59.999, "Just now", "Agora mesmo", "Ahora mismo"},
        {60, "1 min ago", "há 1 min", "hace 1 min"},
        {3599.999, "59 min ago", "há 59 min", "hace 59 min"},
        {3600, "1 h ago", "há 1 h", "hace 1 h"},
        {86399.999, "23 h ago", "há 23 h", "hace 23 h"},
        {86400, "1 d ago", "há 1 d", "hace 1 d"},
        {86400 * 400.5, "400 d ago", "há 400 d", "hace 400 d"},
    };
    auto& language = LanguageManager::shared().currentLanguage;
    for (const auto& each : cases) {
        const ClipboardItem item{.date = now + -each.age};
        language.set(AppLanguage::en);
        EXPECT_EQ(relativeTimestamp(item), each.english) << each.age;
        language.set(AppLanguage::ptBR);
        EXPECT_EQ(relativeTimestamp(item), each.portuguese) << each.age;
        language.set(AppLanguage::es);
        EXPECT_EQ(relativeTimestamp(item), each.spanish) << each.age;
    }
}

}  // namespace
}  // namespace vellumix
