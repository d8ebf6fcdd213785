#include "shell/StatusReport.h"

#include <algorithm>

#include "platform/desktop/Platform.h"
#include "platform/foundation/coding/Json.h"
#include "platform/foundation/text/LocalizedText.h"
#include "shell/AppDelegate.h"

namespace vellumix {

namespace {

template <class Flag>
std::size_t count(const std::vector<ClipboardItem>& items, Flag flag) {
    return static_cast<std::size_t>(std::ranges::count(items, true, flag));
}

void writeCount(JsonWriter& writer, std::string_view key, std::size_t value) {
    writer.key(key);
    writer.number(static_cast<double>(value));
}

/// {"date": …, <name>: <value>}, or null.
void writeEvent(JsonWriter& writer, std::string_view key, const std::optional<Date>& date,
                std::string_view name, std::string_view value) {
    writer.key(key);
    if (!date) return writer.null();
    writer.beginObject();
    writer.key("date");
    writer.string(date->iso8601());
    writer.key(name);
    writer.string(value);
    writer.endObject();
}

std::string textOf(const JsonValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.value)) return *text;
    if (const auto* number = std::get_if<JsonValue::Number>(&value.value)) return number->text;
    return {};
}

std::string kindText(const std::string& kind) { return localized("category." + kind); }

std::string reasonText(const std::string& words) {
    const auto reason = refusalReason(words);
    return reason ? localizedText(*reason) : words;
}

std::string countsText(const JsonValue& entries) {
    std::string text;
    const auto* const kinds = std::get_if<JsonValue::Object>(&entries.value);
    if (!kinds) return text;
    for (const auto& [kind, number] : *kinds) {
        if (!text.empty()) text += ", ";
        text += kindText(kind) + ' ' + textOf(number);
    }
    return text;
}

std::string keychainText(const JsonValue& keychain) {
    auto words = textOf(keychain);
    if (words == "key file") return localized("report.keyFile");
    if (words == "none yet") return localized("report.noKeychain");
    if (words == "in memory") return localized("report.inMemory");
    // The name of a service.
    return words;
}

std::string savingText(const JsonValue& failed) {
    const auto* const flag = std::get_if<bool>(&failed.value);
    return localized(flag && *flag ? "report.savingFails" : "report.savingWorks");
}

std::string panelText(const JsonValue& panel) {
    return localized(textOf(panel) == "visible" ? "report.visible" : "report.hidden");
}

std::string hotkeyText(const JsonValue& hotkey) {
    return localized(textOf(hotkey) == "active" ? "report.active" : "report.refused");
}

std::string cutText(const JsonValue& cut) {
    const auto words = textOf(cut);
    if (words == "refused") return localized("report.refused");
    return localized(words == "on" ? "report.on" : "report.off");
}

std::string updatesText(const JsonValue& updates) {
    return localized(textOf(updates) == "configured" ? "report.configured" : "report.notConfigured");
}

std::string eventText(const JsonValue& event, std::string_view name,
                      std::string (*shown)(const std::string&)) {
    const auto* const date = event["date"];
    const auto* const what = event[name];
    return date && what ? shown(textOf(*what)) + ", " + textOf(*date) : localized("report.noneYet");
}

/// By `SyncState::Case`: its name, and how a person is told; an error by its own text.
constexpr std::pair<std::string_view, std::string_view> syncStates[] = {{"disabled", "sync.disabled"},
                                                                        {"checking", "sync.checking"},
                                                                        {"syncing", "sync.syncing"},
                                                                        {"idle", "sync.idle"},
                                                                        {"error", ""}};

void writeSync(JsonWriter& writer, const CloudSyncCoordinator& sync) {
    writer.beginObject();
    writer.key("state");
    writer.string(syncStates[static_cast<std::size_t>(sync.syncState->stands)].first);
    writer.key("text");
    writer.string(sync.syncState->text);
    writer.key("lastFetch");
    sync.lastFetch ? writer.string(sync.lastFetch->iso8601()) : writer.null();
    writer.endObject();
}

std::string syncText(const JsonValue& sync) {
    const auto* const state = sync["state"];
    const auto* const reason = sync["text"];
    const auto* const lastFetch = sync["lastFetch"];
    if (!state || !reason || !lastFetch) return {};
    auto text = textOf(*reason);
    for (const auto& [name, textKey] : syncStates) {
        if (name == textOf(*state) && !textKey.empty()) text = localized(textKey);
    }
    const auto date = textOf(*lastFetch);
    return date.empty() ? text : text + "; " + localized("report.lastFetch", date);
}

std::string captureText(const JsonValue& event) { return eventText(event, "kind", kindText); }
std::string refusalText(const JsonValue& event) { return eventText(event, "reason", reasonText); }

/// One line for a person: the name in the JSON object, the line's label, and how the value is told.
struct Line {
    std::string_view name;
    std::string_view labelKey;
    std::string (*shown)(const JsonValue&);
};

/// In the order in which they are printed. Each member of the object has one, or a reason to have none.
constexpr Line lines[] = {
    {"entries", "report.entries", countsText},
    {"pinned", "report.pinned", textOf},
    {"locked", "report.locked", textOf},
    {"lockedInClear", "report.lockedInClear", textOf},
    {"file", "report.file", textOf},
    {"saveFailed", "report.saving", savingText},
    {"keychain", "report.keychain", keychainText},
    {"panel", "report.panel", panelText},
    {"hotkey", "report.hotkey", hotkeyText},
    {"cut", "report.cut", cutText},
    {"lastCapture", "report.lastCapture", captureText},
    {"lastRefusal", "report.lastRefusal", refusalText},
    {"sync", "report.sync", syncText},
    {"updates", "report.updates", updatesText},
};

/// As wide as a terminal shows the labels, which are letters of the Latin alphabet, accents included.
std::size_t widthOf(std::string_view label) {
    return static_cast<std::size_t>(
        std::ranges::count_if(label, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

std::string_view cutState(AppDelegate& application) {
    const auto& interceptor = application.hotkeyCoordinator().cutInterceptor;
    if (interceptor && interceptor->isStarted()) return "on";
    return application.globalCutEnabled.get() || application.isCutRefused() ? "refused" : "off";
}

}  // namespace

std::string statusReport(AppDelegate& application) {
    const auto& items = application.store().items().get();
    Bytes out;
    JsonWriter writer(out);
    writer.beginObject();
    writer.key("entries");
    writer.beginObject();
    for (const auto kind : ClipboardItem::allKinds) {
        if (kind == ClipboardItem::Kind::all) continue;
        writeCount(writer, rawValue(kind),
                   static_cast<std::size_t>(std::ranges::count(items, kind, &ClipboardItem::kind)));
    }
    writer.endObject();
    writeCount(writer, "pinned", count(items, &ClipboardItem::pinned));
    writeCount(writer, "locked", count(items, &ClipboardItem::locked));
    writeCount(writer, "lockedInClear", count(items, &ClipboardItem::isLockedInClear));
    writer.key("file");
    writer.string(application.store().url().path());
    writer.key("saveFailed");
    writer.boolean(application.store().saveFailed().get());
    writer.key("keychain");
    writer.string(platform::current().keychain->description());
    writer.key("panel");
    const auto* statusBar = application.statusBar();
    writer.string(statusBar && statusBar->isPanelVisible() ? "visible" : "hidden");
    writer.key("hotkey");
    writer.string(application.hotkeyCoordinator().hasHotkey() ? "active" : "refused");
    writer.key("cut");
    writer.string(cutState(application));
    std::optional<PasteboardWatcher::Capture> capture;
    std::optional<PasteboardWatcher::Refusal> refusal;
    if (const auto* watcher = application.watcher()) {
        capture = watcher->lastCapture();
        refusal = watcher->lastRefusal();
    }
    writeEvent(writer, "lastCapture", capture ? std::optional(capture->date) : std::nullopt, "kind",
               capture ? rawValue(capture->kind) : "");
    writeEvent(writer, "lastRefusal", refusal ? std::optional(refusal->date) : std::nullopt, "reason",
               refusal ? rawValue(refusal->reason) : "");
    writer.key("sync");
    writeSync(writer, application.cloudSync());
    writer.key("updates");
    writer.string(application.updater().isConfigured() ? "configured" : "not configured");
    writer.endObject();
    return std::string(asText(out));
}

std::string readableStatus(std::string_view json) {
    const auto status = JsonValue::parse(json);
    if (!status || !(*status)["entries"]) return {};
    std::size_t column = 0;
    for (const auto& line : lines) column = std::max(column, widthOf(localized(line.labelKey)));
    auto text = localized("report.running") + '\n';
    for (const auto& line : lines) {
        const auto* const value = (*status)[line.name];
        // A program of another version may not tell everything.
        if (!value) continue;
        const auto label = localized(line.labelKey);
        text += label + ':' + std::string(column - widthOf(label) + 2, ' ') + line.shown(*value) + '\n';
    }
    return text;
}

}  // namespace vellumix
