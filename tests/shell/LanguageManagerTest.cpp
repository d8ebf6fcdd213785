#include "shell/settings/LanguageManager.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

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

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

/// What a text has of %-arguments, in order.
std::vector<std::string> arguments(const std::string& text) {
    std::vector<std::string> found;
    for (auto at = text.find('%'); at != std::string::npos; at = text.find('%', at + 2))
        found.push_back(text.substr(at, 2));
    return found;
}

const std::filesystem::path sources = VELLUMIX_SOURCES;

/// The keys that the sources look up, and whether with a number or a text to put in.
std::map<std::string, bool> keysInSources() {
    static constexpr std::string_view lookUp = "localized(\"";
    std::map<std::string, bool> keys;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sources)) {
        if (entry.path().extension() != ".cpp") continue;
        const auto code = contentOf(entry.path());
        for (auto at = code.find(lookUp); at != std::string::npos; at = code.find(lookUp, at + 1)) {
            const auto begin = at + lookUp.size();
            const auto end = code.find('"', begin);
            // Keys that are put together from parts end in something else than the quote.
            if (code[end + 1] != ')' && code[end + 1] != ',') continue;
            keys[code.substr(begin, end - begin)] |= code[end + 1] == ',';
        }
    }
    return keys;
}

TEST(LocalizableStrings, HoldExactlyTheListedKeysInEveryLanguage) {
    std::set<std::string, std::less<>> listed;
    std::istringstream lines(contentOf(sources / "resources/keys.txt"));
    for (std::string line; std::getline(lines, line);) listed.insert(line);
    ASSERT_FALSE(listed.empty());
    const auto lookedUp = keysInSources();
    EXPECT_GT(lookedUp.size(), 50U);
    for (const auto& [key, takesArgument] : lookedUp) EXPECT_TRUE(listed.contains(key)) << key;

    const auto english = Bundle::withFolder("en")->table();
    for (const auto* folder : {"en", "pt-BR", "es"}) {
        const auto table = Bundle::withFolder(folder)->table();
        for (const auto& key : listed) EXPECT_TRUE(table.contains(key)) << folder << " lacks " << key;
        for (const auto& [key, text] : table) {
            EXPECT_TRUE(listed.contains(key)) << folder << " has an unlisted " << key;
            EXPECT_FALSE(text.empty()) << folder << ' ' << key;
            EXPECT_EQ(text.find_first_of("'\"\t"), std::string::npos)
                << folder << " is not typeset: " << text;
            const auto original = english.find(key);
            if (original != english.end()) {
                EXPECT_EQ(arguments(text), arguments(original->second)) << folder << ' ' << key;
            }
            const auto inSources = lookedUp.find(key);
            const bool takesArgument = inSources != lookedUp.end() && inSources->second;
            EXPECT_EQ(arguments(text).size(), takesArgument ? 1U : 0U) << folder << ' ' << key;
        }
        // Each key stands once: a second line would silently win.
        const auto file =
            contentOf(sources / "resources" / (std::string(folder) + ".lproj/Localizable.strings"));
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(file, '=')), table.size()) << folder;
    }
}

}  // namespace
}  // namespace vellumix
