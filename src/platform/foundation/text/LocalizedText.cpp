#include "platform/foundation/text/LocalizedText.h"

#include <algorithm>

#include "platform/foundation/observation/SharedInstances.h"
#include "platform/foundation/text/EmbeddedTables.h"
#include "platform/foundation/text/MissingResources.h"

namespace vellumix {

namespace {

using Table = std::map<std::string, std::string, std::less<>>;

/// Reads one quoted text of a strings table from `at`, which it moves behind the closing quote.
std::optional<std::string> quoted(std::string_view source, std::size_t& at) {
    at = source.find('"', at);
    if (at == std::string_view::npos) return std::nullopt;
    std::string text;
    for (++at; at < source.size() && source[at] != '"'; ++at) {
        if (source[at] == '\\' && at + 1 < source.size()) {
            ++at;
            text += source[at] == 'n' ? '\n' : source[at];
        } else {
            text += source[at];
        }
    }
    ++at;
    return text;
}

/// `"key" = "text";` lines, and comments on lines of their own.
Table parsed(std::string_view source) {
    Table table;
    while (!source.empty()) {
        const auto end = source.find('\n');
        const auto line = source.substr(0, end);
        source.remove_prefix(end == std::string_view::npos ? source.size() : end + 1);
        if (!line.starts_with('"')) continue;
        std::size_t at = 0;
        auto key = quoted(line, at);
        auto text = quoted(line, at);
        if (key && text) table.insert_or_assign(std::move(*key), std::move(*text));
    }
    return table;
}

const Table* tableOf(std::string_view folder) {
    static std::map<std::string, Table, std::less<>> tables;
    const auto source = std::ranges::find(embeddedTables, folder, &EmbeddedTable::folder);
    if (source == embeddedTables.end()) return nullptr;
    const auto known = tables.find(folder);
    if (known != tables.end()) return &known->second;
    return &tables.emplace(folder, parsed(source->strings)).first->second;
}

/// "pt_BR.UTF-8@euro" as "pt-BR".
std::string folderName(std::string_view locale) {
    std::string name(locale.substr(0, locale.find_first_of(".@")));
    std::ranges::replace(name, '_', '-');
    return name;
}

}  // namespace

std::optional<Bundle> Bundle::withFolder(std::string_view folder) {
    const auto* table = tableOf(folder);
    return table ? std::optional(Bundle(table)) : std::nullopt;
}

Bundle Bundle::mainBundle() {
    for (const auto& locale : Localization::current().preferredLanguages) {
        const auto wanted = folderName(locale);
        if (auto exact = withFolder(wanted)) return *exact;
        // Somebody who reads Portuguese of another country is better served by ours than by English.
        const auto language = wanted.substr(0, wanted.find('-'));
        for (const auto& candidate : embeddedTables) {
            if (candidate.folder.substr(0, candidate.folder.find('-')) == language)
                return *withFolder(candidate.folder);
        }
    }
    return *withFolder("en");
}

std::string Bundle::localizedString(std::string_view key) const {
    const auto found = table_->find(key);
    if (found != table_->end()) return found->second;
    reportMissing("text", key);
    return std::string(key);
}

Localization& Localization::current() { return SharedInstances::current().get<Localization>(); }

Bundle Localization::bundle() const {
    const auto chosen = folder ? Bundle::withFolder(*folder) : std::nullopt;
    return chosen ? *chosen : Bundle::mainBundle();
}

std::string localized(std::string_view key) { return Localization::current().bundle().localizedString(key); }

std::string localized(std::string_view key, std::string_view argument) {
    constexpr std::string_view place = "%@";
    auto text = localized(key);
    const auto at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), argument);
    return text;
}

}  // namespace vellumix
